// What the functions inside the splitters return: the result codes of the interface, as a type that nobody
// can drop.
#ifndef QUORV_SRC_SPLITTER_CODE_H
#define QUORV_SRC_SPLITTER_CODE_H

#include <quorv/splitter.h>
#include <stdint.h>

namespace quorv {

// A callback's own code is Code{value}: it passes through as it is, whether it has a name here or not. Where
// a failure is of no consequence, a cast to void and a comment say so.
enum class [[nodiscard]] Code : uint32_t;
enum class Code : uint32_t {
    Ok = SPLITER_OK,
    Io = SPLITER_ERR_IO,
    InvalidParam = SPLITER_ERR_INVALID_PARAM,
    Unsupported = SPLITER_ERR_UNSUPPORTED,
    NoMemory = SPLITER_ERR_NO_MEMORY,
    NoParser = SPLITER_ERR_NO_PARSER,
    BufferTooSmall = SPLITER_ERR_BUFFER_TOO_SMALL,
    DataPending = SPLITER_ERR_DATA_PENDING,
    SourceAtEnd = SPLITER_SOURCE_AT_END,
    BadFormat = SPLITER_ERR_BAD_FORMAT,
    EndOfStream = SPLITER_ERR_END_OF_STREAM
};

// What a search without a result of its own has met.
enum class Found : bool { No, Yes };

// As callers of the interface get it.
constexpr uint32_t to_public(Code code) {
    return static_cast<uint32_t>(code);
}

}  // namespace quorv

#endif
