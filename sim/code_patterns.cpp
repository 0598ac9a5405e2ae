#include "sim/code_patterns.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace palm_test {

namespace {

uint32_t row_word(palm_feature::single_feature const& f, int plane, int row) {
    uint32_t w;
    std::memcpy(&w, f.data + plane * 128 + row * 4, 4);
    return w;
}

void set_row_word(palm_feature::single_feature& f, int plane, int row, uint32_t w) {
    std::memcpy(f.data + plane * 128 + row * 4, &w, 4);
}

}  // namespace

bool code_bit(palm_feature::single_feature const& f, int plane, int row, int column) {
    return (row_word(f, plane, row) >> (31 - column)) & 1u;
}

void set_code_bit(palm_feature::single_feature& f, int plane, int row, int column, bool value) {
    uint32_t const bit = 1u << (31 - column);
    uint32_t const w = row_word(f, plane, row);
    set_row_word(f, plane, row, value ? (w | bit) : (w & ~bit));
}

void fill_code(palm_feature::single_feature& f, unsigned char byte) {
    std::memset(f.data, byte, palm_feature::FEATURE_DATA_SIZE);
}

void sparse_code(palm_feature::single_feature& f, double p, std::mt19937& rng) {
    // Drawing how many bits are set and then where is much cheaper than a
    // draw per bit, and gives the same distribution.
    int const bits = CODE_PLANES * CODE_ROWS * CODE_COLUMNS;
    bool const dense = p > 0.5;
    fill_code(f, dense ? 0xff : 0x00);
    int const flips = std::binomial_distribution<int>(bits, dense ? 1.0 - p : p)(rng);
    flip_bits(f, flips, 0, CODE_ROWS, 0, CODE_COLUMNS, rng);
}

void patch_code(palm_feature::single_feature& f, int patch, std::mt19937& rng) {
    int const patches = (CODE_ROWS + patch - 1) / patch;
    std::uniform_int_distribution<int> value(0, 7);
    std::vector<int> values(patches * patches);
    for (int& v : values)
        v = value(rng);
    for (int plane = 0; plane < CODE_PLANES; ++plane)
        for (int row = 0; row < CODE_ROWS; ++row) {
            uint32_t w = 0;
            for (int column = 0; column < CODE_COLUMNS; ++column) {
                int const v = values[(row / patch) * patches + column / patch];
                w |= static_cast<uint32_t>((v >> plane) & 1) << (31 - column);
            }
            set_row_word(f, plane, row, w);
        }
}

void moved_code(palm_feature::single_feature const& src, palm_feature::single_feature& dst,
                int down, int right, std::mt19937* rng) {
    // Column c is bit 31 - c, so moving right is a right shift of the word.
    uint32_t const kept = right >= 32 || right <= -32 ? 0u
                          : right >= 0                ? 0xffffffffu >> right
                                                      : 0xffffffffu << -right;
    for (int plane = 0; plane < CODE_PLANES; ++plane)
        for (int row = 0; row < CODE_ROWS; ++row) {
            int const from = row - down;
            uint32_t w = 0;
            uint32_t mask = 0;
            if (from >= 0 && from < CODE_ROWS && kept != 0) {
                uint32_t const s = row_word(src, plane, from);
                w = right >= 0 ? s >> right : s << -right;
                mask = kept;
            }
            if (rng != nullptr)
                w |= static_cast<uint32_t>((*rng)()) & ~mask;
            set_row_word(dst, plane, row, w);
        }
}

void flip_bits(palm_feature::single_feature& f, int count, int first_row, int end_row,
               int first_column, int end_column, std::mt19937& rng) {
    int const rows = end_row - first_row;
    int const columns = end_column - first_column;
    int const cells = CODE_PLANES * rows * columns;
    std::vector<bool> seen(cells, false);
    std::uniform_int_distribution<int> pick(0, cells - 1);
    for (int done = 0; done < count && done < cells;) {
        int const cell = pick(rng);
        if (seen[cell])
            continue;
        seen[cell] = true;
        ++done;
        int const plane = cell / (rows * columns);
        int const row = first_row + cell / columns % rows;
        int const column = first_column + cell % columns;
        set_code_bit(f, plane, row, column, !code_bit(f, plane, row, column));
    }
}

namespace {

// One code of a kind drawn from rng; shape 0 .. 6.
void some_code(palm_feature::single_feature& f, int shape, std::mt19937& rng) {
    switch (shape) {
        case 0:
            random_code(f, rng);
            break;
        case 1:
            patch_code(f, std::uniform_int_distribution<int>(2, 8)(rng), rng);
            break;
        case 2:
            sparse_code(f, std::uniform_real_distribution<double>(0.0, 0.05)(rng), rng);
            break;
        case 3:
            sparse_code(f, std::uniform_real_distribution<double>(0.95, 1.0)(rng), rng);
            break;
        case 4:
            fill_code(f, 0x00);
            break;
        case 5:
            fill_code(f, 0xff);
            break;
        default:
            fill_code(f, static_cast<unsigned char>(rng()));
            break;
    }
}

}  // namespace

void varied_pair(unsigned seed, palm_feature::single_feature& a, palm_feature::single_feature& b) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> shape(0, 6);
    std::uniform_int_distribution<int> move(-4, 4);
    some_code(a, shape(rng), rng);
    switch (std::uniform_int_distribution<int>(0, 3)(rng)) {
        case 0:  // unrelated
            some_code(b, shape(rng), rng);
            break;
        case 1:  // the same code
            b = a;
            break;
        default: {  // moved copy
            int const down = move(rng);
            int const right = move(rng);
            moved_code(a, b, down, right, rng() % 2 ? &rng : nullptr);
            break;
        }
    }
    int const flips[] = {0, 0, 1, 2, 5, 20, 100, 400};
    flip_bits(b, flips[rng() % 8], 0, CODE_ROWS, 0, CODE_COLUMNS, rng);
}

}  // namespace palm_test
