#include "palm/feature/base64_alphabet.h"

namespace palm_feature {

char const base64_map[65] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace palm_feature
