// How the ASF classes get at the bytes of the file: readers on the caller's stream, and little-endian reads.
#ifndef QUORV_SRC_ASFPARSER_CASFBASE_H
#define QUORV_SRC_ASFPARSER_CASFBASE_H

#include <quorv/platform/memory.h>

#include "asfparser/AsfGuids.h"
#include "splitter/StreamSource.h"

namespace quorv {

// Times in a file are mostly counted in units of 100 nanoseconds.
inline constexpr uint32_t kAsfUnitsPerMillisecond = 10000;

// Several readers may be open on one source, each with a position of its own. All functions return 0 or the
// callback's code unless they say otherwise.
class CASFBase {
public:
    // The record must outlive this object.
    explicit CASFBase(const SplitterStreamSource *source) : source_(source) {}
    // Virtual, as in CASFDataObjectParser and CASFSimpleIndexObjectParser: these objects begin with a pointer
    // to a virtual table, although nothing is derived from them.
    virtual ~CASFBase();
    CASFBase(const CASFBase &) = delete;
    CASFBase &operator=(const CASFBase &) = delete;
    static void *operator new(size_t size) noexcept { return MMemAlloc(nullptr, size); }
    static void operator delete(void *object) noexcept { MMemFree(nullptr, object); }

    bool IsLocal() const { return source_->source_kind == SPLITER_SOURCE_LOCAL; }

    uint32_t CreateReader(StreamSource *reader, StreamAccess access) const;
    uint32_t DestroyReader(StreamSource *reader) const;

    // 0 when it is not known; *code gets the reason, for callers that can wait.
    uint64_t GetStreamSize(StreamSource *reader, uint32_t *code = nullptr) const;
    int64_t MStreamTell_RO(StreamSource *reader) const;
    uint32_t MStreamSeek_RO(StreamSource *reader, SeekOrigin origin, int64_t offset) const;
    uint32_t SkipNBytes(StreamSource *reader, int32_t count) const;

    // A failed read leaves the reader where it was. What a successful one does not deliver reads as zero, or
    // is left alone when *delivered is asked for, which says how much came.
    uint32_t ReadData(StreamSource *reader, void *buffer, uint32_t count,
                      uint32_t *delivered = nullptr) const;
    uint32_t ReadWORD(StreamSource *reader, uint16_t *value) const;
    uint32_t ReadDWORD(StreamSource *reader, uint32_t *value) const;
    // Either half may be null.
    uint32_t ReadQWORD(StreamSource *reader, uint32_t *low, uint32_t *high) const;
    uint32_t ReadGUID(StreamSource *reader, AsfGuid *guid) const;

    static bool CompareGUID(const AsfGuid &a, const AsfGuid &b);

    // The bytes that a packet field of a length type takes.
    static constexpr uint32_t WidthOfType(uint32_t type) { return (1u << type) / 2; }
    // Reads a packet field in memory; all its bytes must be there. SPLITER_ERR_INVALID_PARAM, and the value
    // 0, for a type above 3.
    static uint32_t ReadFromMemByType(const uint8_t *bytes, uint32_t *value, uint32_t type);

private:
    const SplitterStreamSource *source_;
};

}  // namespace quorv

#endif
