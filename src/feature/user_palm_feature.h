// All captures of one hand of one user, in order: what the server calls a
// template, and what a probe is as well. Its stream form is a 32-bit cell
// count followed by print and vein code of each cell.
#ifndef PALM_FEATURE_USER_PALM_FEATURE_H_
#define PALM_FEATURE_USER_PALM_FEATURE_H_

#include <vector>

#include "palm/feature/i_user_feature_io.h"
#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/palm_export.h"

namespace palm_feature {

// The reader accepts 1 to MAX_USER_CELLS cells; the writer has no limit.
enum { MAX_USER_CELLS = 1024 };

class PALM_EXPORT user_palm_feature : public i_user_feature_io {
  public:
    user_palm_feature();
    ~user_palm_feature() override;

    int size() const { return static_cast<int>(cells.size()); }
    // No bounds checks, as for a plain array.
    palm_cell<single_feature>& operator[](int i) { return cells[i]; }
    palm_cell<single_feature> const& operator[](int i) const { return cells[i]; }

    void add(palm_cell<single_feature> const& cell);
    void replace(int i, palm_cell<single_feature> const& cell);
    void erase(int i);
    void clear();

    bool read(std::istream& is) override;
    bool write(std::ostream& os) const override;
    char* tobuffer(int& size) const override;
    bool from_buffer(char* p, int n) override;

    std::vector<palm_cell<single_feature> > cells;
};

}  // namespace palm_feature

#endif  // PALM_FEATURE_USER_PALM_FEATURE_H_
