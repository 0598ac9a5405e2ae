// Constant tables of the image operators.
#ifndef PALM_IMAGE_PALM_TABLES_H_
#define PALM_IMAGE_PALM_TABLES_H_

namespace palm_share {

// Brightness similarity of the SUSAN principle: entry 255 + d is
// 1024 * exp(-(d / 17)^6) rounded, for grey differences d from -255 to 255.
extern const int g_piExpMatrix[511];

// Twelve times the first 256 entries of g_piExpMatrix: twelve extra dark
// pixels that count as similar to a very dark centre.
extern const int g_piExpMatrix_12[256];

// tan(n degrees) rounded to four decimals, n from 0 to 45.
extern const double g_pfTanTable[46];

}  // namespace palm_share

#endif  // PALM_IMAGE_PALM_TABLES_H_
