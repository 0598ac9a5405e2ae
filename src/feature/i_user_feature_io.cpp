#include "palm/feature/i_user_feature_io.h"

#include <exception>
#include <fstream>

namespace palm_feature {

i_user_feature_io::~i_user_feature_io() {}

bool i_user_feature_io::load(std::string path) {
    try {
        std::ifstream in(path.c_str(), std::ios::in | std::ios::binary);
        if (!read(in))
            return false;
        this->path = path;
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

bool i_user_feature_io::save(std::string path) const {
    std::ofstream out(path.c_str(), std::ios::out | std::ios::binary | std::ios::trunc);
    bool const ok = write(out);
    out.close();  // the close result is deliberately not part of the answer
    return ok;
}

bool i_user_feature_io::save() const {
    if (path.empty())
        return false;
    return save(std::string(path));
}

}  // namespace palm_feature
