// Fast anisotropic Gauss filtering in fixed point (after Geusebroek,
// Smeulders and van de Weijer): a Gaussian elongated along one of six
// directions is split into a recursive filter along the rows and a second
// one along a vertical or slanted line, each a third-order forward and
// backward recursion (Young, van Vliet, van Ginkel) closed at the end of the
// line by the condition of Triggs and Sdika; then differentiated across the
// line.
//
// Images are row-major int arrays without row padding. Every product is a
// 32-bit product that wraps modulo 2^32 and is rounded by itself before it is
// added; the wrap at the end of the lines is part of the results.
#ifndef PALM_EXTRACTION_ANIGAUSS_H_
#define PALM_EXTRACTION_ANIGAUSS_H_

namespace palm_share {

// Slope of the slanted line of each orientation, in elements per row. Entry 3
// is a tiny negative number rather than 0: the vertical orientation runs the
// slanted filter on its negative path, whose interpolation weights then come
// out as 4095 and 0.
extern const float TAN_P[6];
// sin and cos of (30k - 90) degrees with 11 fractional bits, cut toward zero:
// the derivative runs across the line, and the halving of a central
// difference is folded in.
extern const int SIN_P[6];
extern const int COS_P[6];

// Gaussian of orientation k (30k degrees), then `orderv` and `orderu`
// differences across the line. `src` is only read, `dst` fully written.
void anigauss(int* src, int* dst, int sizex, int sizey, int k, int orderv, int orderu);

// Row filter; `src` and `dst` distinct.
void f_iir_xline_filter(int* src, int* dst, int sizex, int sizey, int k);
// Second pass down the columns (orientation 0) or along slanted lines.
// Meant to run in place; distinct `dst` receives a filtered copy of `src`.
void f_iir_yline_filter(int* src, int* dst, int sizex, int sizey, int k);
void f_iir_tline_filter(int* src, int* dst, int sizex, int sizey, int k);
// sin(phi) d/dx + cos(phi) d/dy by central differences, borders clamped.
void f_iir_derivative_filter(int* src, int* dst, int sizex, int sizey, int k);

}  // namespace palm_share

#endif  // PALM_EXTRACTION_ANIGAUSS_H_
