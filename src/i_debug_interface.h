// Common base of the algorithm interfaces. get_last_error is a slot kept for
// binary compatibility with applications; no error is ever stored.
#ifndef PALM_I_DEBUG_INTERFACE_H_
#define PALM_I_DEBUG_INTERFACE_H_

#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT i_debug_interface {
  public:
    virtual ~i_debug_interface() {}
    virtual void get_last_error(void*) {}
};

}  // namespace palm_algorithm

#endif  // PALM_I_DEBUG_INTERFACE_H_
