// An input stream over a block of memory that stays the caller's.
#ifndef PALM_FEATURE_BASIC_IMEMSTREAM_H_
#define PALM_FEATURE_BASIC_IMEMSTREAM_H_

#include <cstddef>
#include <istream>

#include "palm/feature/mem_streambuf.h"

namespace palm_feature {

template <typename CharT, typename Traits = std::char_traits<CharT> >
class basic_imemstream : public std::basic_istream<CharT, Traits> {
  public:
    // The block must outlive the stream.
    basic_imemstream(CharT* p, std::size_t n)
        : std::basic_istream<CharT, Traits>(nullptr), buf_(p, n, false) {
        this->init(&buf_);
    }
    ~basic_imemstream() override {
        if (buf_.owned)
            delete[] buf_.buffer;
        buf_.buffer = nullptr;
        buf_.size = 0;
        buf_.owned = false;
    }

  private:
    mem_streambuf<CharT, Traits> buf_;
};

typedef basic_imemstream<char> imemstream;

}  // namespace palm_feature

#endif  // PALM_FEATURE_BASIC_IMEMSTREAM_H_
