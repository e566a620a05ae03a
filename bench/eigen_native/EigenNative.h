#pragma once
// Eigen compiled for the processor the benchmark runs on (-march=native, with fused
// multiply-add), in a shared library of its own: Eigen's templates are instantiated there
// with hidden visibility, so they never mix with the copies in the benchmark program, which
// is built for any x86-64.

#include <memory>

namespace EigenNative {

class __attribute__((visibility("default"))) Operations {
public:
    // Two n x n operands, row-major.
    Operations(int n, const double* a, const double* b);
    ~Operations();
    void Multiply();       // C = A * B
    double Determinant();  // by partial pivoting
    void Invert();         // by partial pivoting
    int Rank();            // by complete pivoting
    double Check() const;  // a value read from the last result, so it is not optimised away

private:
    struct Data;
    std::unique_ptr<Data> data_;
};

}  // namespace EigenNative
