#include "palm/feature/single_feature.h"

#include <cstring>
#include <exception>
#include <istream>
#include <ostream>

#include "palm/feature/feature_block_pool.h"

namespace palm_feature {

single_feature::single_feature() : data(new unsigned char[FEATURE_DATA_SIZE]) {
    std::memset(data, 0, FEATURE_DATA_SIZE);
}

// The path is not copied, and a source without a block leaves the new block
// as allocated (uninitialised); both are how the record has always behaved.
single_feature::single_feature(single_feature const& other)
    : i_feature_io(), data(new unsigned char[FEATURE_DATA_SIZE]) {
    *this = other;
}

single_feature& single_feature::operator=(single_feature const& other) {
    if (!other.IsValid() || other.data == data)
        return *this;
    std::memcpy(data, other.data, FEATURE_DATA_SIZE);
    return *this;
}

single_feature::~single_feature() {
    if (feature_block_pool::owns(data))
        feature_block_pool::release(data);
    else
        delete[] data;
    data = nullptr;
}

void single_feature::Clear() {
    if (data)
        std::memset(data, 0, FEATURE_DATA_SIZE);
}

bool single_feature::read(std::istream& is) {
    try {
        is.read(reinterpret_cast<char*>(data), FEATURE_DATA_SIZE);
        return !(is.fail() || is.bad());
    } catch (std::exception const&) {
        return false;
    }
}

bool single_feature::write(std::ostream& os) const {
    try {
        os.write(reinterpret_cast<char const*>(data), FEATURE_DATA_SIZE);
        return !(os.fail() || os.bad());
    } catch (std::exception const&) {
        return false;
    }
}

}  // namespace palm_feature
