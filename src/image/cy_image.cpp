#include "palm/image/cy_image.h"

#include <climits>
#include <cstring>
#include <new>

namespace palm_share {

namespace {

// Pixel count of a requested size, or 0 when the size cannot form an image
// (a non-positive side or more pixels than an int can count).
int pixel_count(long long w, long long h) {
    if (w < 1 || h < 1 || w * h > INT_MAX)
        return 0;
    return static_cast<int>(w * h);
}

unsigned char* allocate(int count) {
    if (count <= 0)
        return nullptr;
    return new (std::nothrow) unsigned char[count];
}

}  // namespace

CYImage::CYImage() : buffer(nullptr), width(0), height(0), attached(false) {}

CYImage::CYImage(int w, int h, const unsigned char* src)
    : buffer(nullptr), width(0), height(0), attached(false) {
    int count = pixel_count(w, h);
    buffer = allocate(count);
    if (buffer == nullptr)
        return;
    width = w;
    height = h;
    if (src != nullptr) {
        std::memcpy(buffer, src, count);
    } else {
        std::memset(buffer, 0, count);
    }
}

CYImage::CYImage(const CYImage& other) : buffer(nullptr), width(0), height(0), attached(false) {
    *this = other;
}

CYImage::~CYImage() {
    if (!attached)
        delete[] buffer;
    width = 0;
    height = 0;
}

// A foreign block is never handed to delete[]: it may come from a camera
// driver. Where an owned block would be freed, a foreign one is only dropped.
void CYImage::release_block() {
    if (!attached)
        delete[] buffer;
    buffer = nullptr;
}

CYImage& CYImage::operator=(const CYImage& other) {
    if (!other.IsValid())
        return *this;
    if (buffer == other.buffer)
        return *this;
    bool was_attached = attached;
    attached = other.attached;
    if (other.attached) {
        // The pointer is shared; a block owned so far is left behind.
        buffer = other.buffer;
        width = other.width;
        height = other.height;
        return *this;
    }
    int count = other.width * other.height;
    // A foreign block is neither freed nor written here, since from now on the
    // image owns what it holds: it gets a block of its own.
    if (buffer == nullptr || was_attached || width * height != count) {
        if (!was_attached)
            delete[] buffer;
        buffer = nullptr;
        width = other.width;
        height = other.height;
        buffer = allocate(count);
        if (buffer == nullptr)
            return *this;
    } else {
        width = other.width;
        height = other.height;
    }
    std::memcpy(buffer, other.buffer, count);
    return *this;
}

void CYImage::attach(unsigned int w, int h, unsigned char* buf) {
    if (buf == nullptr)
        return;
    release_block();
    buffer = buf;
    width = static_cast<int>(w);
    height = h;
    attached = true;
}

bool CYImage::Create(int w, int h, const unsigned char* src) {
    int count = pixel_count(w, h);
    if (buffer != nullptr && count > 0 && width * height == count) {
        std::memset(buffer, 0, count);
    } else {
        release_block();
        buffer = allocate(count);
        if (buffer == nullptr) {
            width = 0;
            height = 0;
            return false;
        }
    }
    width = w;
    height = h;
    if (src != nullptr)
        std::memcpy(buffer, src, count);
    return true;
}

bool CYImage::Create(int w, int h, unsigned char value) {
    release_block();
    int count = pixel_count(w, h);
    buffer = allocate(count);
    if (buffer == nullptr) {
        width = 0;
        height = 0;
        return false;
    }
    width = w;
    height = h;
    std::memset(buffer, value, count);
    return true;
}

unsigned char* CYImage::GetRowBuffer(int row) {
    if (!IsValid())
        return nullptr;
    return buffer + width * row;
}

unsigned char* CYImage::operator[](int row) {
    if (!IsValid() || row < 0 || row >= height)
        return nullptr;
    return buffer + width * row;
}

const unsigned char* CYImage::operator[](int row) const {
    if (!IsValid() || row < 0 || row >= height)
        return nullptr;
    return buffer + width * row;
}

void CYImage::SetData(unsigned char value) {
    if (!IsValid() || attached)
        return;
    std::memset(buffer, value, GetSize());
}

void CYImage::Set_Buffer(const unsigned char* src) {
    if (src == nullptr || !IsValid())
        return;
    std::memcpy(buffer, src, GetSize());
}

void CYImage::FillRow(int row, const unsigned char& value) {
    if (!IsValid() || row < 0 || row >= height)
        return;
    std::memset(buffer + width * row, value, width);
}

void CYImage::FillColumn(int column, const unsigned char& value) {
    if (!IsValid() || column < 0 || column >= width)
        return;
    for (int y = 0; y < height; ++y)
        buffer[y * width + column] = value;
}

unsigned char CYImage::Mean() const {
    if (!IsValid())
        return 0;
    long long size = GetSize();
    long long sum = 0;
    for (long long i = 0; i < size; ++i)
        sum += buffer[i];
    return static_cast<unsigned char>((sum + size / 2) / size);
}

unsigned char CYImage::Interpolation(int x, int y, int shift) const {
    if (!IsValid() || x < 0 || y < 0 || shift < 0 || shift > 30)
        return 0;
    if (x > (static_cast<long long>(width) << shift) ||
        y > (static_cast<long long>(height) << shift)) {
        return 0;
    }
    const long long s = 1LL << shift;
    const long long ix = x >> shift, fx = x & (s - 1);
    const long long iy = y >> shift, fy = y & (s - 1);
    // A position on the right or bottom edge reads on into the next row; past
    // the end of the block it reads 0 rather than foreign memory.
    const long long size = GetSize();
    auto p = [&](long long a, long long b) -> long long {
        long long i = b * width + a;
        return i < size ? buffer[i] : 0;
    };
    long long r;
    if (fx == 0 && fy == 0) {
        r = p(ix, iy);
    } else if (fy == 0) {
        r = ((s - fx) * p(ix, iy) + fx * p(ix + 1, iy)) >> shift;
    } else if (fx == 0) {
        r = ((s - fy) * p(ix, iy) + fy * p(ix, iy + 1)) >> shift;
    } else {
        long long l = ((s - fy) * p(ix, iy) + fy * p(ix, iy + 1)) >> shift;
        long long rr = ((s - fy) * p(ix + 1, iy) + fy * p(ix + 1, iy + 1)) >> shift;
        r = ((s - fx) * l + fx * rr) >> shift;
    }
    return static_cast<unsigned char>(r & 255);
}

void CYImage::Threshold(unsigned char t) {
    if (!IsValid())
        return;
    int size = GetSize();
    for (int i = 0; i < size; ++i)
        buffer[i] = buffer[i] > t ? 255 : 0;
}

double CYImage::GetWhiteRatio() {
    if (!IsValid())
        return 0.0;
    int size = GetSize();
    int white = 0;
    for (int i = 0; i < size; ++i)
        white += buffer[i] == 255;
    return static_cast<double>(white) / size;
}

}  // namespace palm_share
