// Coefficients of the recursive Gauss filters, as integers with 12 fractional
// bits (4096 = 1.0). Row 2k serves the row filter of orientation k, row
// 2k + 1 its second, vertical or slanted, pass. The scales are those of a
// Gaussian with sigma 5 along and 3 across a line at 30k degrees, split into
// a row part and a slanted part.
#ifndef PALM_EXTRACTION_ANIGAUSS_COEF_H_
#define PALM_EXTRACTION_ANIGAUSS_COEF_H_

namespace palm_share {

// 12 rows of 7: b3, b2, b1, B, b1, b2, b3 (Young / van Vliet third-order
// recursion). The forward pass reads columns 0 to 3, the backward 3 to 6.
extern const int g_piFilterCoef[84];

// 12 entries: P = 1 / (1 - b1 - b2 - b3), the gain of the steady state.
extern const int g_piBCoef[12];

// 12 rows of 9: M0 to M8, the end-of-line matrix of Triggs and Sdika.
extern const int g_piMCoef[108];

}  // namespace palm_share

#endif  // PALM_EXTRACTION_ANIGAUSS_COEF_H_
