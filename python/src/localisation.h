// Shared by the bindings that crop.
#ifndef PALM_PYTHON_LOCALISATION_H_
#define PALM_PYTHON_LOCALISATION_H_

namespace palm_python {

// Builds the crop's lens tables from the calibration in force, once per
// process: the crop reads them without testing that they exist.
void ensure_lens_tables();

}  // namespace palm_python

#endif  // PALM_PYTHON_LOCALISATION_H_
