// propagatorlib_free.cpp - evolution without RF, which keeps the total Iz: eigenvectors of the
// small blocks of states that F joins.

#include "propagatorlib_internal.h"

#include <Eigen/Dense>

#include <algorithm>

typedef Eigen::Map<const Eigen::MatrixXd> Vectors;
typedef Eigen::Map<const Eigen::VectorXd> Values;

static Eigen::MatrixXd component_matrix(const SparseSystem &s, size_t c)
{
    const int begin = s.first[c], size = s.first[c + 1] - begin;
    Eigen::MatrixXd A = Eigen::MatrixXd::Zero(size, size);
    for (int b = 0; b < size; b++) {
        const int j = s.member[(size_t)(begin + b)];
        A(b, b) = s.d[(size_t)j];
        for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++) {
            const auto from = s.member.begin() + begin, to = from + size;
            const auto found = std::lower_bound(from, to, s.row[(size_t)e]);
            if (s.fixed[(size_t)e] != 0.0)
                A(found - from, b) = s.fixed[(size_t)e];
        }
    }
    return A;
}

FreeEigen diagonalise(const SparseSystem &s)
{
    FreeEigen eigen;
    for (size_t c = 0; c + 1 < s.first.size(); c++) {
        const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(component_matrix(s, c));
        const Eigen::VectorXd &values = solver.eigenvalues();
        const Eigen::MatrixXd &vectors = solver.eigenvectors();
        eigen.values.insert(eigen.values.end(), values.data(), values.data() + values.size());
        eigen.vectors.insert(eigen.vectors.end(), vectors.data(), vectors.data() + vectors.size());
    }
    return eigen;
}

void append_free_propagator(const SparseSystem &s, const FreeEigen &eigen, double T,
                            std::vector<double> *re, std::vector<double> *im)
{
    const double *value = eigen.values.data(), *vector = eigen.vectors.data();
    for (size_t c = 0; c + 1 < s.first.size(); c++) {
        const int n = s.first[c + 1] - s.first[c];
        const Vectors V(vector, n, n);
        const Eigen::VectorXd angle = Values(value, n) * T;
        const Eigen::MatrixXd U = V * angle.array().cos().matrix().asDiagonal() * V.transpose();
        const Eigen::MatrixXd W = V * angle.array().sin().matrix().asDiagonal() * V.transpose();
        for (int a = 0; a < n; a++)
            for (int b = 0; b < n; b++) {
                re->push_back(U(a, b));
                im->push_back(-W(a, b));
            }
        value += n;
        vector += n * n;
    }
}
