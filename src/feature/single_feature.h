// One palm code: a fixed block of FEATURE_DATA_SIZE bytes that the coder
// writes and the matcher reads directly. Every object owns its own block;
// copies are deep and assignment copies bytes into the existing block.
#ifndef PALM_FEATURE_SINGLE_FEATURE_H_
#define PALM_FEATURE_SINGLE_FEATURE_H_

#include "palm/feature/i_feature_io.h"
#include "palm/palm_export.h"

namespace palm_feature {

enum { FEATURE_DATA_SIZE = 384 };

class PALM_EXPORT single_feature : public i_feature_io {
  public:
    single_feature();
    single_feature(single_feature const& other);
    single_feature& operator=(single_feature const& other);
    ~single_feature() override;

    bool IsValid() const { return data != nullptr; }
    void Clear();

    bool read(std::istream& is) override;
    bool write(std::ostream& os) const override;

    unsigned char* data;
};

}  // namespace palm_feature

#endif  // PALM_FEATURE_SINGLE_FEATURE_H_
