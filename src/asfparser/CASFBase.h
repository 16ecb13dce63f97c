// How the ASF classes get at the bytes of the file: readers on the caller's stream, and little-endian reads.
#ifndef QUORV_SRC_ASFPARSER_CASFBASE_H
#define QUORV_SRC_ASFPARSER_CASFBASE_H

#include <quorv/platform/memory.h>

#include "asfparser/AsfGuids.h"
#include "splitter/Code.h"
#include "splitter/StreamSource.h"

namespace quorv {

// Times in a file are mostly counted in units of 100 nanoseconds.
inline constexpr uint32_t kAsfUnitsPerMillisecond = 10000;

// The three CASF classes that are made with `new` live on the library's heap. Each begins with a pointer to a
// virtual table that holds its destructor, although nothing is derived from it; so each names an operator
// delete, which must not be the C++ runtime's.
struct AsfOnHeap {
    static void *operator new(size_t size) noexcept { return MMemAlloc(nullptr, size); }
    static void operator delete(void *object) noexcept { MMemFree(nullptr, object); }
};

// A stream of the caller's with a position of its own, which is closed when it goes.
struct AsfReader : StreamSource {
    AsfReader() : StreamSource{} {}
    ~AsfReader();
    AsfReader(const AsfReader &) = delete;
    AsfReader &operator=(const AsfReader &) = delete;

    bool is_open = false;
};

// Several readers may be open on one source at once. All functions return the callback's code unless they say
// otherwise.
class CASFBase : public AsfOnHeap {
public:
    // The record must outlive this object.
    explicit CASFBase(const SplitterStreamSource *source) : source_(source) {}
    virtual ~CASFBase();
    CASFBase(const CASFBase &) = delete;
    CASFBase &operator=(const CASFBase &) = delete;

    bool IsLocal() const { return source_->source_kind == SPLITER_SOURCE_LOCAL; }
    // Through which all readers read.
    ReadWindow &Window() { return window_; }

    Code CreateReader(AsfReader *reader, StreamAccess access);
    // Whatever the close callback answers; a reader that is not open stays so.
    static void DestroyReader(AsfReader *reader);

    // 0 when it is not known; *code gets the reason, for callers that can wait.
    static uint64_t GetStreamSize(StreamSource *reader, Code *code = nullptr);
    // 0 when the callback fails.
    static int64_t MStreamTell_RO(StreamSource *reader);
    static Code MStreamSeek_RO(StreamSource *reader, SeekOrigin origin, int64_t offset);
    static Code SkipNBytes(StreamSource *reader, int32_t count);
    // Seeks only when the reader does not stand there already.
    static Code MoveTo(StreamSource *reader, uint64_t position);

    // A failed read leaves the reader where it was. What a successful one does not deliver reads as zero, or
    // is left alone when *delivered is asked for, which says how much came.
    static Code ReadData(StreamSource *reader, void *buffer, uint32_t count, uint32_t *delivered = nullptr);
    // One of at most 8 bytes. A failure leaves the value alone, as in the readers of one width.
    static Code ReadInteger(StreamSource *reader, uint32_t width, uint64_t *value);
    static Code ReadWORD(StreamSource *reader, uint16_t *value);
    static Code ReadDWORD(StreamSource *reader, uint32_t *value);
    // Either half may be null.
    static Code ReadQWORD(StreamSource *reader, uint32_t *low, uint32_t *high);
    static Code ReadGUID(StreamSource *reader, AsfGuid *guid);

    static bool CompareGUID(const AsfGuid &a, const AsfGuid &b);

    // The bytes that a packet field of a length type takes.
    static constexpr uint32_t WidthOfType(uint32_t type) { return (1u << type) / 2; }
    // Reads a packet field in memory; all its bytes must be there. InvalidParam, and the value 0, for a type
    // above 3.
    static Code ReadFromMemByType(const uint8_t *bytes, uint32_t *value, uint32_t type);

private:
    const SplitterStreamSource *source_;
    ReadWindow window_;
};

}  // namespace quorv

#endif
