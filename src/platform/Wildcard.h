// Matching of file names against a wildcard pattern.
#ifndef QUORV_SRC_PLATFORM_WILDCARD_H
#define QUORV_SRC_PLATFORM_WILDCARD_H

namespace quorv {

// '?' in the pattern matches any byte, '*' any run of bytes, an empty one included; upper-case ASCII letters
// in the name match their lower-case form. The pattern must be in lower case.
bool matches_wildcard(const char *pattern, const char *name);

}  // namespace quorv

#endif
