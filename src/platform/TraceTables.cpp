// Trace tables: what text has been recorded under which identifier.

#include <quorv/platform/log.h>
#include <string.h>

#include "platform/MemoryOwner.h"
#include "platform/PlatformContext.h"
#include "platform/TraceRecords.h"

namespace quorv {
namespace {

constexpr uint32_t kTextNode = 1;
constexpr uint32_t kIdentifierNode = 2;
constexpr uint32_t kNodeEntries = 256;

struct TableEntry {
    uintptr_t identifier;  // the address the text was given at; never read through
    const char *text;      // the table's copy; null in a node of identifiers
    Owned<char[]> own;     // where that lies when the node's storage is too small for it
};

struct TableNode {
    Owned<TableNode> next;
    uint32_t kind;
    uint32_t count;
    uint32_t storage_size;
    uint32_t storage_used;
    Owned<char[]> storage;  // of texts
    TableEntry entries[kNodeEntries];
};

Owned<TableNode> new_node(uint32_t kind, uint32_t storage_bytes) {
    if (kind != kTextNode && kind != kIdentifierNode) return nullptr;
    Owned<TableNode> node = make_owned<TableNode>();
    if (node == nullptr) return nullptr;
    node->kind = kind;
    if (kind == kIdentifierNode) return node;
    node->storage = make_array<char>(storage_bytes);
    node->storage_size = storage_bytes;
    if (node->storage == nullptr) return nullptr;
    return node;
}

// The context's word for a table, null for a number other than 1 to 3.
uintptr_t *table_of(MPlatContext *context, uint32_t number) {
    uintptr_t *tables[] = {&context->first_table, &context->second_table, &context->third_table};
    return number >= 1 && number <= 3 ? tables[number - 1] : nullptr;
}

// A table of the context, the trace mutex held while this lives.
class TableAccess {
public:
    explicit TableAccess(uint32_t number)
        : context_(MSTATIC_MGetContext()), lock_(context_ == nullptr ? 0 : context_->trace_mutex) {
        const uintptr_t *word = context_ == nullptr ? nullptr : table_of(context_, number);
        first_ = word == nullptr ? nullptr : pointer_of<TableNode *>(*word);
    }
    TableNode *first() const { return first_; }

private:
    MPlatContext *context_;
    MutexLock lock_;
    TableNode *first_;
};

bool knows(const TableNode *node, const char *text) {
    for (; node != nullptr; node = node->next.get()) {
        for (uint32_t i = 0; i < node->count; ++i) {
            const TableEntry &entry = node->entries[i];
            if (node->kind == kTextNode ? strcmp(entry.text, text) == 0 : entry.identifier == word_of(text))
                return true;
        }
    }
    return false;
}

// Whether the node can take one more entry with a text of this size in its storage.
bool has_room(const TableNode *node, size_t text_size) {
    if (node->count == kNodeEntries) return false;
    return node->kind == kIdentifierNode || text_size > node->storage_size ||
           text_size <= node->storage_size - node->storage_used;
}

uint32_t add_entry(TableNode *node, const char *text, size_t text_size) {
    TableEntry &entry = node->entries[node->count];
    if (node->kind == kTextNode) {
        char *copy = node->storage.get() + node->storage_used;
        if (text_size > node->storage_size) {
            entry.own = make_array<char>(text_size);
            if (entry.own == nullptr) return ResultNoMemory;
            copy = entry.own.get();
        } else {
            node->storage_used += static_cast<uint32_t>(text_size);
        }
        memcpy(copy, text, text_size);
        entry.text = copy;
    }
    entry.identifier = word_of(text);
    ++node->count;
    return ResultOk;
}

uint32_t write_identifiers(uint32_t level, uint32_t number, const TableNode *node) {
    uint32_t values[kNodeEntries];
    for (uint32_t i = 0; i < node->count; ++i)
        values[i] = static_cast<uint32_t>(node->entries[i].identifier);
    return node->count == 0 ? uint32_t{ResultOk}
                            : MSTATIC_MLogTraceData(level, number, node->count, 0, 0, values, node->count);
}

uint32_t write_texts(uint32_t level, uint32_t number, const TableNode *node) {
    uint32_t result = ResultOk;
    for (uint32_t i = 0; i < node->count && result == ResultOk; ++i)
        result = write_text_record(level, MTRACE_TABLE_TEXT + number, node->entries[i].identifier,
                                   node->entries[i].text);
    return result;
}

}  // namespace
}  // namespace quorv

using namespace quorv;

void *MSTATIC_MTableNewOneNode(uint32_t kind, uint32_t storage_bytes) {
    return new_node(kind, storage_bytes).release();
}

uint32_t MSTATIC_MTableAddOneID(uint32_t kind, const char *text) {
    if (text == nullptr) return ResultInvalidArg;
    const TableAccess table(kind);
    if (table.first() == nullptr) return ResultFailed;
    if (knows(table.first(), text)) return ResultOk;
    TableNode *last = table.first();
    while (last->next != nullptr)
        last = last->next.get();
    const size_t text_size = strlen(text) + 1;
    if (!has_room(last, text_size)) {
        last->next = new_node(last->kind, last->storage_size);
        if (last->next == nullptr) return ResultNoMemory;
        last = last->next.get();
    }
    return add_entry(last, text, text_size);
}

uint32_t MSTATIC_MTableIDExists(uint32_t kind, const char *text) {
    const TableAccess table(kind);
    return text != nullptr && knows(table.first(), text) ? 1 : 0;
}

uint32_t MSTATIC_MTableWrite(uint32_t level, uint32_t kind) {
    const TableAccess table(kind);
    if (table.first() == nullptr) return ResultFailed;
    uint32_t result = ResultOk;
    for (const TableNode *node = table.first(); node != nullptr && result == ResultOk;
         node = node->next.get())
        result =
            node->kind == kTextNode ? write_texts(level, kind, node) : write_identifiers(level, kind, node);
    return result;
}

uint32_t MSTATIC_MTableReMoveAll(uint32_t /*kind*/, void *first_node) {
    if (first_node == nullptr) return ResultInvalidArg;
    MPlatContext *context = MSTATIC_MGetContext();
    const MutexLock lock(context == nullptr ? 0 : context->trace_mutex);
    for (uint32_t number = 1; context != nullptr && number <= 3; ++number) {
        uintptr_t *word = table_of(context, number);
        if (*word == word_of(first_node)) *word = 0;
    }
    // One after the other: node within node would take a stack as deep as the table is long.
    Owned<TableNode> node(static_cast<TableNode *>(first_node));
    while (node != nullptr)
        node = std::move(node->next);
    return ResultOk;
}
