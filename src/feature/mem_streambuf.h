// A stream buffer over a caller's block of memory, so that the code that
// reads a record from a file can read it from memory unchanged. It cannot
// seek; reading past the end is end-of-file as for any stream.
#ifndef PALM_FEATURE_MEM_STREAMBUF_H_
#define PALM_FEATURE_MEM_STREAMBUF_H_

#include <cstddef>
#include <streambuf>

namespace palm_feature {

template <typename CharT, typename Traits = std::char_traits<CharT> >
class mem_streambuf : public std::basic_streambuf<CharT, Traits> {
  public:
    mem_streambuf(CharT* p, std::size_t n, bool own = false) : size(n), buffer(p), owned(own) {
        this->setg(p, p, p + n);
        this->setp(p, p + n);
    }
    ~mem_streambuf() override {
        if (owned)
            delete[] buffer;
    }

    mem_streambuf(mem_streambuf const&) = delete;
    mem_streambuf& operator=(mem_streambuf const&) = delete;

    std::size_t size;
    CharT* buffer;
    bool owned;  // true: the destructor frees buffer with delete[]
};

}  // namespace palm_feature

#endif  // PALM_FEATURE_MEM_STREAMBUF_H_
