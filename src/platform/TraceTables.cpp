// Trace tables: what text has been recorded under which identifier.

#include <quorv/platform/log.h>
#include <quorv/platform/memory.h>
#include <string.h>

#include "platform/PlatformContext.h"
#include "platform/TraceRecords.h"

namespace quorv {
namespace {

constexpr uint32_t kTextNode = 1;
constexpr uint32_t kIdentifierNode = 2;
constexpr uint32_t kNodeEntries = 256;

struct TableEntry {
    uintptr_t identifier;  // the address the text was given at; never read through
    char *text;  // the table's copy, in the node's storage or by itself; null in a node of identifiers
};

// A text node is followed by its storage.
struct TableNode {
    TableNode *next;
    uint32_t kind;
    uint32_t count;
    uint32_t storage_size;
    uint32_t storage_used;
    TableEntry entries[kNodeEntries];
};

char *storage_of(TableNode *node) {
    return static_cast<char *>(static_cast<void *>(node + 1));
}

bool is_in_storage(TableNode *node, const char *text) {
    const uintptr_t begin = word_of(storage_of(node));
    return word_of(text) >= begin && word_of(text) - begin < node->storage_size;
}

TableNode *new_node(uint32_t kind, uint32_t storage_bytes) {
    if (kind != kTextNode && kind != kIdentifierNode) return nullptr;
    const size_t storage = kind == kTextNode ? storage_bytes : 0;
    if (storage > SIZE_MAX - sizeof(TableNode)) return nullptr;
    TableNode *const node = static_cast<TableNode *>(MMemAlloc(nullptr, sizeof(TableNode) + storage));
    if (node == nullptr) return nullptr;
    node->next = nullptr;
    node->kind = kind;
    node->count = 0;
    node->storage_size = static_cast<uint32_t>(storage);
    node->storage_used = 0;
    return node;
}

// The context's word for a table, null for a number other than 1 to 3.
uintptr_t *table_of(MPlatContext *context, uint32_t number) {
    uintptr_t *const tables[] = {&context->first_table, &context->second_table, &context->third_table};
    return number >= 1 && number <= 3 ? tables[number - 1] : nullptr;
}

// A table of the context, the trace mutex held while this lives.
class TableAccess {
public:
    explicit TableAccess(uint32_t number)
        : context_(MSTATIC_MGetContext()), lock_(context_ == nullptr ? 0 : context_->trace_mutex) {
        const uintptr_t *const word = context_ == nullptr ? nullptr : table_of(context_, number);
        first_ = word == nullptr ? nullptr : pointer_of<TableNode *>(*word);
    }
    TableNode *first() const { return first_; }

private:
    MPlatContext *context_;
    MutexLock lock_;
    TableNode *first_;
};

bool knows(const TableNode *node, const char *text) {
    for (; node != nullptr; node = node->next) {
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
    entry.identifier = word_of(text);
    entry.text = nullptr;
    if (node->kind == kTextNode) {
        if (text_size > node->storage_size) {
            entry.text = static_cast<char *>(MMemAlloc(nullptr, text_size));
            if (entry.text == nullptr) return ResultNoMemory;
        } else {
            entry.text = storage_of(node) + node->storage_used;
            node->storage_used += static_cast<uint32_t>(text_size);
        }
        memcpy(entry.text, text, text_size);
    }
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
    return new_node(kind, storage_bytes);
}

uint32_t MSTATIC_MTableAddOneID(uint32_t kind, const char *text) {
    if (text == nullptr) return ResultInvalidArg;
    const TableAccess table(kind);
    if (table.first() == nullptr) return ResultFailed;
    if (knows(table.first(), text)) return ResultOk;
    TableNode *last = table.first();
    while (last->next != nullptr)
        last = last->next;
    const size_t text_size = strlen(text) + 1;
    if (!has_room(last, text_size)) {
        last->next = new_node(last->kind, last->storage_size);
        if (last->next == nullptr) return ResultNoMemory;
        last = last->next;
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
    for (const TableNode *node = table.first(); node != nullptr && result == ResultOk; node = node->next)
        result =
            node->kind == kTextNode ? write_texts(level, kind, node) : write_identifiers(level, kind, node);
    return result;
}

uint32_t MSTATIC_MTableReMoveAll(uint32_t /*kind*/, void *first_node) {
    if (first_node == nullptr) return ResultInvalidArg;
    MPlatContext *const context = MSTATIC_MGetContext();
    const MutexLock lock(context == nullptr ? 0 : context->trace_mutex);
    for (uint32_t number = 1; context != nullptr && number <= 3; ++number) {
        uintptr_t *const word = table_of(context, number);
        if (*word == word_of(first_node)) *word = 0;
    }
    for (TableNode *node = static_cast<TableNode *>(first_node); node != nullptr;) {
        for (uint32_t i = 0; i < node->count; ++i) {
            if (node->entries[i].text != nullptr && !is_in_storage(node, node->entries[i].text))
                MMemFree(nullptr, node->entries[i].text);
        }
        TableNode *const next = node->next;
        MMemFree(nullptr, node);
        node = next;
    }
    return ResultOk;
}
