#include "palm/feature/i_feature_io.h"

#include <fstream>

namespace palm_feature {

i_feature_io::~i_feature_io() {}

// No exception guard of its own here: read() of a single_feature already turns
// stream exceptions into false.
bool i_feature_io::load(std::string path) {
    std::ifstream in(path.c_str(), std::ios::in | std::ios::binary);
    if (!read(in))
        return false;
    this->path = path;
    return true;
}

bool i_feature_io::save(std::string path) {
    std::ofstream out(path.c_str(), std::ios::out | std::ios::binary | std::ios::trunc);
    bool const ok = write(out);
    out.close();  // the close result is deliberately not part of the answer
    return ok;
}

bool i_feature_io::save() {
    if (path.empty())
        return false;
    return save(std::string(path));
}

}  // namespace palm_feature
