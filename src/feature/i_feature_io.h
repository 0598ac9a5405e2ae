// Base of every object that has a binary stream form and can be loaded from
// or saved to a file. It remembers the path of the last successful load.
#ifndef PALM_FEATURE_I_FEATURE_IO_H_
#define PALM_FEATURE_I_FEATURE_IO_H_

#include <iosfwd>
#include <string>

#include "palm/palm_export.h"

namespace palm_feature {

class PALM_EXPORT i_feature_io {
  public:
    virtual ~i_feature_io();

    virtual bool read(std::istream& is) = 0;
    virtual bool write(std::ostream& os) const = 0;
    // Reads the file through read(); on success remembers the path.
    virtual bool load(std::string path);
    // Writes through write(); never remembers the path.
    virtual bool save(std::string path);
    // Saves to the remembered path; false when nothing was ever loaded.
    bool save();

    std::string path;
};

}  // namespace palm_feature

#endif  // PALM_FEATURE_I_FEATURE_IO_H_
