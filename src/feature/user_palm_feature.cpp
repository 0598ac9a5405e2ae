#include "palm/feature/user_palm_feature.h"

#include <cstdint>
#include <cstring>
#include <exception>
#include <istream>
#include <ostream>

#include "palm/feature/basic_imemstream.h"

namespace palm_feature {

user_palm_feature::user_palm_feature() {}

user_palm_feature::~user_palm_feature() {}

void user_palm_feature::add(palm_cell<single_feature> const& cell) {
    cells.push_back(cell);
}

void user_palm_feature::replace(int i, palm_cell<single_feature> const& cell) {
    cells[i].first = cell.first;
    cells[i].second = cell.second;
}

// Blocks are never moved between cells: later cells copy their bytes one place
// down, and the last cell goes.
void user_palm_feature::erase(int i) {
    int const n = size();
    for (int k = i; k + 1 < n; ++k) {
        cells[k].first = cells[k + 1].first;
        cells[k].second = cells[k + 1].second;
    }
    cells.pop_back();
}

void user_palm_feature::clear() {
    cells.clear();
}

bool user_palm_feature::write(std::ostream& os) const {
    if (!os.good())
        return false;
    try {
        int32_t const count = size();
        os.write(reinterpret_cast<char const*>(&count), sizeof(count));
        if (count < 1)
            return true;
        for (auto const& cell : cells) {
            if (!os.good())
                return false;
            if (!cell.first.write(os))
                return false;
            if (!cell.second.write(os))
                return false;
        }
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

bool user_palm_feature::read(std::istream& is) {
    if (!is.good())
        return false;
    // A stream that ends inside the count leaves the bytes read so far; the
    // range test below is what refuses it.
    int32_t count = 0;
    is.read(reinterpret_cast<char*>(&count), sizeof(count));
    // One unsigned comparison refuses 0, negatives and anything above the limit.
    if (static_cast<uint32_t>(count) - 1u > static_cast<uint32_t>(MAX_USER_CELLS) - 1u)
        return false;
    // No rollback: a failure below leaves the new size and what was read.
    cells.resize(static_cast<std::size_t>(count));
    for (auto& cell : cells) {
        if (!is.good())
            return false;
        if (!cell.first.read(is))
            return false;
        if (!cell.second.read(is))
            return false;
    }
    return true;
}

char* user_palm_feature::tobuffer(int& size) const {
    if (cells.empty())
        return nullptr;
    int32_t const count = this->size();
    size = 2 * FEATURE_DATA_SIZE * count + 4;
    char* const out = new char[static_cast<std::size_t>(size)];
    std::memcpy(out, &count, sizeof(count));
    char* p = out + 4;
    for (auto const& cell : cells) {
        std::memcpy(p, cell.first.data, FEATURE_DATA_SIZE);
        std::memcpy(p + FEATURE_DATA_SIZE, cell.second.data, FEATURE_DATA_SIZE);
        p += 2 * FEATURE_DATA_SIZE;
    }
    return out;
}

// True even when read() refuses the block: only a stream exception is an
// error here. Callers that must know read through an imemstream themselves.
bool user_palm_feature::from_buffer(char* p, int n) {
    static char empty = 0;
    if (p == nullptr || n < 0) {  // nothing to read: the record stays as it is
        p = &empty;
        n = 0;
    }
    try {
        imemstream in(p, static_cast<std::size_t>(n));
        read(in);
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

}  // namespace palm_feature
