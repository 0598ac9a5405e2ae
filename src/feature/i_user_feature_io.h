// Base of records that hold all captures of one hand and can move between a
// stream, a file and a memory block.
#ifndef PALM_FEATURE_I_USER_FEATURE_IO_H_
#define PALM_FEATURE_I_USER_FEATURE_IO_H_

#include <iosfwd>
#include <string>

#include "palm/palm_export.h"

namespace palm_feature {

class PALM_EXPORT i_user_feature_io {
  public:
    virtual ~i_user_feature_io();

    virtual bool read(std::istream& is) = 0;
    virtual bool write(std::ostream& os) const = 0;
    // Reads the file through read(); on success remembers the path. Stream
    // exceptions become false.
    virtual bool load(std::string path);
    // Writes through write(); never remembers the path.
    virtual bool save(std::string path) const;
    // The stream form in a new block that the caller frees with delete[];
    // null for an empty record.
    virtual char* tobuffer(int& size) const = 0;
    virtual bool from_buffer(char* p, int n) = 0;
    // Saves to the remembered path; false when nothing was ever loaded.
    bool save() const;

    std::string path;
};

}  // namespace palm_feature

#endif  // PALM_FEATURE_I_USER_FEATURE_IO_H_
