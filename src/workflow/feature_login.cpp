#include "palm/workflow/feature_login.h"

#include "palm/matching/i_feature_match.h"

namespace palm_workflow {

namespace {
i_feature_login* _g_feature_login = nullptr;
}  // namespace

feature_login::feature_login() {}

feature_login::~feature_login() {}

std::vector<std::pair<float, float> > feature_login::detect(
    palm_feature::palm_cell<palm_feature::single_feature> const& cell,
    palm_feature::user_palm_feature const& user) {
    palm_algorithm::i_feature_match* const matcher = palm_algorithm::get_feature_match_inst();
    std::vector<std::pair<float, float> > out;
    out.reserve(static_cast<std::size_t>(user.size()));
    for (int i = 0; i < user.size(); ++i) {
        float const print =
            matcher->match(cell.first, user[i].first, palm_algorithm::i_feature_match::DEGREE_ALL);
        float const vein = matcher->match(cell.second, user[i].second,
                                          palm_algorithm::i_feature_match::DEGREE_ALL);
        out.push_back(std::make_pair(print, vein));
    }
    return out;
}

i_feature_login* create_feature_login() {
    if (_g_feature_login == nullptr) _g_feature_login = new feature_login();
    return _g_feature_login;
}

void destroy_feature_process(i_feature_process* p) {
    if (p != nullptr && p == _g_feature_login) {
        delete _g_feature_login;
        _g_feature_login = nullptr;
    }
}

}  // namespace palm_workflow
