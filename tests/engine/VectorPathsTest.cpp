// Every vector path this processor runs (SSE2, AVX2, AVX-512), on one worker and on all,
// with the work shared out as for large matrices or not, gives the bits of the SSE2 path on
// one worker, for every routine built on the kernels.

#include <bit>
#include <string>

#include "EngineTestSupport.h"
#include "Kernels.h"
#include "MatrixModule.h"
#include "Parallel.h"
#include "VectorPaths.h"

namespace {

using namespace MatrixModule;

// Everything the dense routines produce for one set of operands. Sizes leave partial
// register tiles on every path.
struct Results {
    Matrix product, inverse, l, u, r, q;
    double determinant = 0;
    std::int16_t rank = 0;
    bool inverted = false;
};

Results ComputeAll() {
    constexpr std::int16_t n = 163, wide = 181;
    const Matrix A = RandomMatrix(n, wide, 21), B = RandomMatrix(wide, 149, 22);
    Matrix square = RandomMatrix(n, n, 23);
    for (std::int16_t i = 1; i <= n; ++i)
        square.At(i, i) += 4.0;  // clear of zero pivots, so LU succeeds
    Results out;
    out.product = Sized(n, 149);
    MultiplyMatrices(n, wide, 149, A, B, out.product);
    out.determinant = MatrixDeterminant(n, square);
    out.inverse = Sized(n, n);
    out.inverted = InvertMatrix(n, square, out.inverse);
    out.rank = MatrixRank(n, wide, A);
    out.l = Sized(n, n), out.u = Sized(n, n);
    EXPECT_TRUE(DecomposeLU(n, square, out.l, out.u));
    Matrix tall = RandomMatrix(wide, n, 24);
    out.r = Sized(wide, n), out.q = Sized(wide, wide);
    EXPECT_TRUE(DecomposeQR(wide, n, tall, out.r, out.q));
    return out;
}

struct Setting {
    VectorPaths::Path path;
    unsigned workers;  // 0: all the machine has
    bool shareEverything;
    std::string name;
};

class SameBitsOnEveryPath : public ::testing::TestWithParam<Setting> {
protected:
    void TearDown() override {
        VectorPaths::Use(VectorPaths::Supported().back());
        Parallel::LimitWorkers(0);
        Parallel::ShareEverything(false);
    }
};

TEST_P(SameBitsOnEveryPath, AsTheBaselineOnOneWorker) {
    const Setting& setting = GetParam();
    const auto supported = VectorPaths::Supported();
    if (std::find(supported.begin(), supported.end(), setting.path) == supported.end())
        GTEST_SKIP() << "the processor lacks " << setting.name;
    VectorPaths::Use(VectorPaths::Path::Sse2);
    Parallel::LimitWorkers(1);
    const Results baseline = ComputeAll();
    VectorPaths::Use(setting.path);
    Parallel::LimitWorkers(setting.workers);
    Parallel::ShareEverything(setting.shareEverything);
    ASSERT_EQ(VectorPaths::Active().path, setting.path);
    const Results other = ComputeAll();
    EXPECT_TRUE(SameBits(other.product, baseline.product));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(other.determinant),
              std::bit_cast<std::uint64_t>(baseline.determinant));
    ASSERT_TRUE(baseline.inverted && other.inverted);
    EXPECT_TRUE(SameBits(other.inverse, baseline.inverse));
    EXPECT_EQ(other.rank, baseline.rank);
    EXPECT_TRUE(SameBits(other.l, baseline.l) && SameBits(other.u, baseline.u));
    EXPECT_TRUE(SameBits(other.r, baseline.r) && SameBits(other.q, baseline.q));
}

using VectorPaths::Path;
INSTANTIATE_TEST_SUITE_P(Paths, SameBitsOnEveryPath,
                         ::testing::Values(Setting{Path::Sse2, 0, false, "SSE2_AllWorkers"},
                                           Setting{Path::Sse2, 0, true, "SSE2_AllShared"},
                                           Setting{Path::Avx2, 1, false, "AVX2_OneWorker"},
                                           Setting{Path::Avx2, 0, true, "AVX2_AllShared"},
                                           Setting{Path::Avx512, 1, false, "AVX512_OneWorker"},
                                           Setting{Path::Avx512, 0, false, "AVX512_AllWorkers"},
                                           Setting{Path::Avx512, 0, true, "AVX512_AllShared"}),
                         ByName());

// The complete pivoting of the rank takes its column from this search: the first place of
// the largest magnitude, past NaNs, for lengths on both sides of every vector width.
TEST(SubtractScaledMax, FindsTheFirstPlaceOfTheLargestOnEveryPath) {
    for (VectorPaths::Path path : VectorPaths::Supported()) {
        VectorPaths::Use(path);
        for (auto [count, first, second] :
             {std::tuple{1, 0, 0}, {7, 6, 6}, {9, 3, 8}, {17, 16, 16}, {24, 2, 18}, {40, 7, 33}}) {
            std::vector<double> y(std::size_t(count), NAN), x(std::size_t(count), 1.0);
            for (int j = 1; j < count; ++j)
                y[std::size_t(j)] = 0.5 * (j % 3) - 1.0;
            y[std::size_t(first)] = -3.5, y[std::size_t(second)] = 4.5;  // -4 and 4 after
            std::ptrdiff_t where = -2;
            EXPECT_EQ(Kernels::SubtractScaledMax(y.data(), x.data(), 0.5, count, where), 4.0);
            EXPECT_EQ(where, first) << count << " on path " << int(path);
            EXPECT_EQ(y[std::size_t(second)], 4.0);
        }
        std::vector<double> nans(9, NAN);
        std::ptrdiff_t where = -2;
        EXPECT_EQ(Kernels::SubtractScaledMax(nans.data(), nans.data(), 1.0, 9, where), -1.0);
        EXPECT_EQ(where, -1);
    }
    VectorPaths::Use(VectorPaths::Supported().back());
}

}  // namespace
