// CYImage: the one grey-image container. A block of 8-bit pixels, row major
// with the stride equal to the width, that either owns its memory or points
// at a camera's or a caller's frame without copying it (attached).
#ifndef PALM_IMAGE_CY_IMAGE_H_
#define PALM_IMAGE_CY_IMAGE_H_

#include "palm/palm_export.h"

namespace palm_share {

class PALM_EXPORT CYImage {
  public:
    CYImage();
    CYImage(int width, int height, const unsigned char* src);
    CYImage(const CYImage& other);
    // Not virtual: images are never deleted through a base pointer.
    ~CYImage();

    CYImage& operator=(const CYImage& other);

    // Takes `buffer` over without copying; the image will not free it.
    virtual void attach(unsigned int width, int height, unsigned char* buffer);

    bool Create(int width, int height, const unsigned char* src);
    bool Create(int width, int height, unsigned char value);

    bool IsValid() const { return width >= 1 && height >= 1 && buffer != nullptr; }
    unsigned char* GetBuffer() const { return buffer; }
    int GetWidth() const { return width; }
    int GetHeight() const { return height; }
    int GetSize() const { return width * height; }
    bool IsAttached() const { return attached; }

    unsigned char* GetRowBuffer(int row);
    unsigned char* operator[](int row);
    const unsigned char* operator[](int row) const;

    void SetData(unsigned char value);
    void Set_Buffer(const unsigned char* src);
    void FillRow(int row, const unsigned char& value);
    void FillColumn(int column, const unsigned char& value);

    unsigned char Mean() const;
    unsigned char Interpolation(int x, int y, int shift) const;
    void Threshold(unsigned char t);
    double GetWhiteRatio();

  protected:
    unsigned char* buffer;
    int width;
    int height;
    bool attached;

  private:
    // Frees the block if this object owns it and forgets it either way.
    void release_block();
};

}  // namespace palm_share

#endif  // PALM_IMAGE_CY_IMAGE_H_
