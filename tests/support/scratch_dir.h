// A fresh temporary directory that is the working directory for the life of
// the object; the previous working directory comes back afterwards. Tests of
// code that writes relative paths (the enrolment debug file) run inside one.
#ifndef PALM_TESTS_SUPPORT_SCRATCH_DIR_H_
#define PALM_TESTS_SUPPORT_SCRATCH_DIR_H_

#include <string>

namespace palm_test {

class scratch_dir {
  public:
    scratch_dir();
    ~scratch_dir();
    scratch_dir(scratch_dir const&) = delete;
    scratch_dir& operator=(scratch_dir const&) = delete;

    std::string const& path() const { return path_; }
    // The bytes of a file in the directory; empty when it does not exist.
    std::string read(std::string const& name) const;
    bool exists(std::string const& name) const;

  private:
    std::string path_;
    std::string previous_;
};

}  // namespace palm_test

#endif  // PALM_TESTS_SUPPORT_SCRATCH_DIR_H_
