// Matching of file names against a wildcard pattern; see the header.

#include "platform/Wildcard.h"

#include "platform/AsciiCase.h"

namespace quorv {

// Only the last star met needs to be tried again: what an earlier one could take up, the last one can, too.
// That keeps the time to the product of the two lengths.
bool matches_wildcard(const char *pattern, const char *name) {
    const char *after_star = nullptr;
    const char *star_end = nullptr;  // where in the name the last star's run ends
    while (*name != 0) {
        if (*pattern == '*') {
            after_star = ++pattern;
            star_end = name;
        } else if (*pattern == '?' || *pattern == ascii_lower(*name)) {
            ++pattern;
            ++name;
        } else if (after_star != nullptr) {
            pattern = after_star;
            name = ++star_end;
        } else {
            return false;
        }
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == 0;
}

}  // namespace quorv
