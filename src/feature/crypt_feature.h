// Encoding of a record as feature text, with the MD5 digest of that text for
// whoever sends it. Nothing is enciphered, whatever the name says.
#ifndef PALM_FEATURE_CRYPT_FEATURE_H_
#define PALM_FEATURE_CRYPT_FEATURE_H_

#include <string>

#include "palm/feature/user_palm_feature.h"
#include "palm/palm_export.h"

// Base64 of the record's stream form into `text` and its digest as 32 hex
// digits into `digest`. False for a record with no cells; both strings are
// then left alone.
PALM_EXPORT bool crypt_feature(palm_feature::user_palm_feature const& user, std::string& text,
                               std::string& digest);

#endif  // PALM_FEATURE_CRYPT_FEATURE_H_
