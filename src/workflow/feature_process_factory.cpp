// The two process-wide workflow objects: each made on its first create_*
// call and living until destroy_feature_process.
#include "palm/workflow/feature_enroll.h"
#include "palm/workflow/feature_login.h"

namespace palm_workflow {

namespace {
i_feature_login* _g_feature_login = nullptr;
i_feature_enroll* _g_feature_enroll = nullptr;
}  // namespace

i_feature_login* create_feature_login() {
    if (_g_feature_login == nullptr)
        _g_feature_login = new feature_login();
    return _g_feature_login;
}

i_feature_enroll* create_feature_enroll(enroll_feature_count count) {
    if (_g_feature_enroll == nullptr)
        _g_feature_enroll = new feature_enroll(count);
    return _g_feature_enroll;
}

void destroy_feature_process(i_feature_process* p) {
    if (p != nullptr && p == _g_feature_enroll) {
        delete _g_feature_enroll;
        _g_feature_enroll = nullptr;
    }
    if (p != nullptr && p == _g_feature_login) {
        delete _g_feature_login;
        _g_feature_login = nullptr;
    }
}

}  // namespace palm_workflow
