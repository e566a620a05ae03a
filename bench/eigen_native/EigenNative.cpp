#include "EigenNative.h"

#include <Eigen/Dense>

namespace EigenNative {

struct Operations::Data {
    Eigen::MatrixXd a, b, c;
};

Operations::Operations(int n, const double* a, const double* b) : data_(std::make_unique<Data>()) {
    using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    data_->a = Eigen::Map<const RowMajor>(a, n, n);
    data_->b = Eigen::Map<const RowMajor>(b, n, n);
    data_->c.resize(n, n);
}

Operations::~Operations() = default;

void Operations::Multiply() {
    data_->c.noalias() = data_->a * data_->b;
}

double Operations::Determinant() {
    return data_->a.partialPivLu().determinant();
}

void Operations::Invert() {
    data_->c = data_->a.partialPivLu().inverse();
}

int Operations::Rank() {
    return int(data_->a.fullPivLu().rank());
}

double Operations::Check() const {
    return data_->c(0, 0);
}

}  // namespace EigenNative
