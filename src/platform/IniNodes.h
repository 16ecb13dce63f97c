// The sections and keys of an INI file, in file order, each with the place of its line in the file.
#ifndef QUORV_SRC_PLATFORM_ININODES_H
#define QUORV_SRC_PLATFORM_ININODES_H

#include <string_view>

#include "platform/MemoryOwner.h"

namespace quorv {

enum class IniState : uint32_t {
    Unchanged = 0,  // read from the file
    Changed = 1,    // read from the file, its value changed
    New = 2,        // to be written as a new line
    Removed = 3,    // read from the file, then removed
    NewRemoved = 4  // new, then removed
};

inline bool is_removed(IniState state) {
    return state == IniState::Removed || state == IniState::NewRemoved;
}

inline bool is_from_file(IniState state) {
    return state != IniState::New && state != IniState::NewRemoved;
}

// Where a line lies in the file: offsets of its first byte and of the first byte behind its ending. For a new
// key, both are the offset of the section line that it goes before; for a new line at the end of the file, 0.
struct IniPlace {
    intptr_t start;
    intptr_t end;
};

struct IniKey {
    Owned<char[]> text;  // the name, a zero byte, the value, a zero byte
    char *value;         // points into it
    IniPlace place;
    IniState state;
    IniKey *next;

    const char *name() const { return text.get(); }
    // Replaces the value and nothing else; false, with the old value, when there is no memory.
    [[nodiscard]] bool set_value(std::string_view value);
};

enum class IniSearch { Live, LiveThenRemoved };

struct IniSection {
    Owned<char[]> text;
    IniPlace place;
    IniState state;
    IniKey *first_key;
    IniKey *last_key;
    IniSection *next;

    const char *name() const { return text.get(); }
    // The first key of this name; see IniSections::find.
    IniKey *find(std::string_view name, IniSearch search);
};

// Nodes that are allocated many at a time and freed all at once.
template <typename Node, size_t Count>
class IniNodePool {
public:
    IniNodePool() = default;
    ~IniNodePool() {
        // One after the other: block within block would take a stack as deep as the file has blocks.
        while (newest_ != nullptr)
            newest_ = std::move(newest_->older);
    }
    IniNodePool(const IniNodePool &) = delete;
    IniNodePool &operator=(const IniNodePool &) = delete;

    // The next unused node, all zero; null when there is no memory.
    Node *take() {
        if (taken_ == Count || newest_ == nullptr) {
            Owned<Block> block = make_owned<Block>();
            if (block == nullptr) return nullptr;
            block->older = std::move(newest_);
            newest_ = std::move(block);
            taken_ = 0;
        }
        return &newest_->nodes[taken_++];
    }

private:
    struct Block {
        Node nodes[Count];
        Owned<Block> older;
    };
    Owned<Block> newest_;
    size_t taken_ = 0;  // of the newest block
};

class IniSections {
public:
    IniSection *first() const { return first_; }
    IniSection *last() const { return last_; }

    // Appended at the end; null, with everything as it was, when there is no memory.
    [[nodiscard]] IniSection *append(std::string_view name, IniPlace place, IniState state);
    [[nodiscard]] IniKey *append_key(IniSection *section, std::string_view name, std::string_view value,
                                     IniPlace place, IniState state);

    // The first section of this name, ASCII case ignored. What was removed is found only when asked for, and
    // only when nothing live has the name.
    IniSection *find(std::string_view name, IniSearch search) const;

private:
    IniNodePool<IniSection, 8> sections_;
    IniNodePool<IniKey, 128> keys_;
    IniSection *first_ = nullptr;
    IniSection *last_ = nullptr;
};

}  // namespace quorv

#endif
