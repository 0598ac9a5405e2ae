// A small dense row-major matrix and the numerical routines the calibration
// needs: the singular value decomposition behind the homography, and a
// two-dimensional filter and an image gradient for the sub-pixel corner
// search. The candidate graph of the enrolment uses the same class for bool.
#ifndef PALM_CALIBRATION_MATRIX_H_
#define PALM_CALIBRATION_MATRIX_H_

#include <cmath>
#include <cstddef>
#include <new>
#include <utility>

namespace palm_struct {

// Owns rows * cols elements in one array, row after row; data is null when
// the matrix is empty. Size mismatches in arithmetic do not fail: the result
// is a copy of the left operand.
template <typename T>
class matrix {
  public:
    // Larger requests are refused rather than handed to the allocator: no
    // calibration matrix comes near this many elements.
    static const std::size_t MAX_ELEMENTS = std::size_t(1) << 26;

    unsigned int cols = 0;
    unsigned int rows = 0;
    T* data = nullptr;

    matrix() = default;
    // Zeros; a refused size leaves the matrix empty.
    matrix(unsigned int r, unsigned int c) { reallocate_matrix(r, c); }
    matrix(const matrix& other) { copy_from(other); }
    matrix(matrix&& other) noexcept : cols(other.cols), rows(other.rows), data(other.data) {
        other.cols = 0;
        other.rows = 0;
        other.data = nullptr;
    }
    matrix& operator=(const matrix& other) {
        if (this != &other) {
            matrix copy(other);
            swap(copy);
        }
        return *this;
    }
    matrix& operator=(matrix&& other) noexcept {
        if (this != &other) {
            release();
            swap(other);
        }
        return *this;
    }
    virtual ~matrix() { delete[] data; }

    // Keeps the elements when only the shape changes; otherwise the matrix
    // holds a new zeroed array. On failure the matrix stays as it was.
    bool reallocate_matrix(unsigned int r, unsigned int c) {
        std::size_t const count = std::size_t(r) * std::size_t(c);
        if (data != nullptr && count == element_count()) {
            rows = r;
            cols = c;
            return true;
        }
        if (count > MAX_ELEMENTS)
            return false;
        T* fresh = nullptr;
        if (count > 0) {
            fresh = new (std::nothrow) T[count]();
            if (fresh == nullptr)
                return false;
        }
        delete[] data;
        data = fresh;
        rows = r;
        cols = c;
        return true;
    }

    void release() {
        delete[] data;
        data = nullptr;
        rows = 0;
        cols = 0;
    }

    // The row's start; null for a row at or beyond rows.
    T* operator[](unsigned int r) { return r < rows ? data + std::size_t(r) * cols : nullptr; }
    const T* operator[](unsigned int r) const {
        return r < rows ? data + std::size_t(r) * cols : nullptr;
    }
    // The element's address in the row's run; null for a row at or beyond rows.
    T* operator()(unsigned int r, unsigned int c) {
        return r < rows ? data + std::size_t(r) * cols + c : nullptr;
    }
    const T* operator()(unsigned int r, unsigned int c) const {
        return r < rows ? data + std::size_t(r) * cols + c : nullptr;
    }

    matrix operator+(const matrix& other) const {
        return element_wise(other, [](T a, T b) { return T(a + b); });
    }
    matrix operator-(const matrix& other) const {
        return element_wise(other, [](T a, T b) { return T(a - b); });
    }
    matrix dot_multiple(const matrix& other) const {
        return element_wise(other, [](T a, T b) { return T(a * b); });
    }

    matrix operator*(const matrix& other) const {
        if (cols != other.rows)
            return *this;
        matrix out(rows, other.cols);
        if (out.element_count() != std::size_t(rows) * other.cols)
            return *this;
        for (unsigned int i = 0; i < rows; ++i) {
            for (unsigned int j = 0; j < other.cols; ++j) {
                T sum = T();
                for (unsigned int k = 0; k < cols; ++k) {
                    sum += data[std::size_t(i) * cols + k] *
                           other.data[std::size_t(k) * other.cols + j];
                }
                out.data[std::size_t(i) * other.cols + j] = sum;
            }
        }
        return out;
    }

    matrix operator*(double s) const {
        matrix out(*this);
        for (std::size_t i = 0; i < out.element_count(); ++i)
            out.data[i] = T(out.data[i] * s);
        return out;
    }
    matrix operator+(double s) const {
        matrix out(*this);
        for (std::size_t i = 0; i < out.element_count(); ++i)
            out.data[i] = T(out.data[i] + s);
        return out;
    }

    void transpose() {
        if (rows > 1 && cols > 1) {
            matrix t(cols, rows);
            if (t.data == nullptr)
                return;
            for (unsigned int r = 0; r < rows; ++r) {
                for (unsigned int c = 0; c < cols; ++c) {
                    t.data[std::size_t(c) * rows + r] = data[std::size_t(r) * cols + c];
                }
            }
            swap(t);
            return;
        }
        std::swap(rows, cols);
    }

    // The nrows by ncols block from (r, c), or a copy of the whole matrix when
    // the block would reach beyond it.
    matrix sub_matrix(unsigned int r, unsigned int c, unsigned int nrows,
                      unsigned int ncols) const {
        if (std::size_t(r) + nrows > rows || std::size_t(c) + ncols > cols)
            return *this;
        matrix out(nrows, ncols);
        if (out.element_count() != std::size_t(nrows) * ncols)
            return *this;
        for (unsigned int i = 0; i < nrows; ++i) {
            for (unsigned int j = 0; j < ncols; ++j) {
                out.data[std::size_t(i) * ncols + j] = data[(std::size_t(r) + i) * cols + c + j];
            }
        }
        return out;
    }

    // The Euclidean length of a vector (one row or one column), whatever the
    // name says; 0 for any other shape.
    double norm1() const {
        if (rows != 1 && cols != 1)
            return 0;
        double sum = 0;
        for (std::size_t i = 0; i < element_count(); ++i) {
            sum += double(data[i]) * double(data[i]);
        }
        return std::sqrt(sum);
    }

    // The largest absolute element of a vector, else the largest absolute
    // row sum.
    double norminf() const {
        double best = 0;
        if (rows == 1 || cols == 1) {
            for (std::size_t i = 0; i < element_count(); ++i) {
                double const a = std::fabs(double(data[i]));
                if (a > best)
                    best = a;
            }
            return best;
        }
        for (unsigned int r = 0; r < rows; ++r) {
            double sum = 0;
            for (unsigned int c = 0; c < cols; ++c) {
                sum += std::fabs(double(data[std::size_t(r) * cols + c]));
            }
            if (sum > best)
                best = sum;
        }
        return best;
    }

    std::size_t element_count() const { return data == nullptr ? 0 : std::size_t(rows) * cols; }

    void swap(matrix& other) noexcept {
        std::swap(cols, other.cols);
        std::swap(rows, other.rows);
        std::swap(data, other.data);
    }

  private:
    void copy_from(const matrix& other) {
        if (!reallocate_matrix(other.rows, other.cols))
            return;
        for (std::size_t i = 0; i < element_count(); ++i)
            data[i] = other.data[i];
    }

    template <typename Op>
    matrix element_wise(const matrix& other, Op op) const {
        if (rows != other.rows || cols != other.cols)
            return *this;
        matrix out(*this);
        for (std::size_t i = 0; i < out.element_count(); ++i) {
            out.data[i] = op(out.data[i], other.data[i]);
        }
        return out;
    }
};

}  // namespace palm_struct

namespace palm_calib {

using palm_struct::matrix;

// In-place convolution with an odd-sized kernel, flipped as convolution
// requires. A border of half the kernel keeps its old values; an even kernel
// changes nothing.
void conv2(matrix<double>& m, const matrix<double>& k);

// Central differences times 0.5 inside, one-sided differences on the first
// and last column (gx) or row (gy); gx and gy take the size of m.
void gradient(const matrix<double>& m, matrix<double>& gx, matrix<double>& gy);

// Singular value decomposition of the row-major m by n matrix a by
// Householder bidiagonalisation and implicitly shifted QR sweeps. On success
// (1) a holds the singular values on its diagonal in descending order, not
// negative, and zeros elsewhere; u the m by m left factor and v the n by n
// right factor transposed, so that a = u * diag * v. eps is the tolerance for
// a negligible superdiagonal element relative to its two diagonal
// neighbours. -1 when 60 sweeps in all do not converge, or on null or empty
// input; the outputs are then undefined.
int svd_real_matrix(double* a, int m, int n, double* u, double* v, double eps);

// Writes s to the diagonal and e to the first superdiagonal of a and
// transposes the n by n v in place.
void ppp(double* a, double* e, double* s, double* v, int m, int n);

// One plane rotation: from fg = (f, g), cs = (cosine, sine) and fg becomes
// (r, z), r signed like the larger of f and g (g on a tie) and z the compact
// code of the rotation.
void sss(double* fg, double* cs);

}  // namespace palm_calib

#endif  // PALM_CALIBRATION_MATRIX_H_
