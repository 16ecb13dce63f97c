// The lists of sections and keys: making nodes, finding and changing them.

#include <quorv/platform/memory.h>
#include <quorv/platform/strings.h>
#include <string.h>

#include "platform/IniFile.h"

namespace quorv {
namespace {

// The next unused node; null when there is no memory.
template <typename Node, size_t Count>
Node *take_node(IniNodePool<Node, Count> **pools, size_t *taken) {
    if (*pools == nullptr || *taken == Count) {
        using Pool = IniNodePool<Node, Count>;
        Pool *const pool = static_cast<Pool *>(MMemAlloc(nullptr, sizeof(Pool)));
        if (pool == nullptr) return nullptr;
        pool->next = *pools;
        *pools = pool;
        *taken = 0;
    }
    Node *const node = &(*pools)->nodes[(*taken)++];
    *node = Node{};
    return node;
}

template <typename Pool>
void free_pools(Pool *pool) {
    while (pool != nullptr) {
        Pool *const next = pool->next;
        MMemFree(nullptr, pool);
        pool = next;
    }
}

template <typename Node>
void link_last(Node *node, Node **first, Node **last) {
    if (*last == nullptr)
        *first = node;
    else
        (*last)->next = node;
    *last = node;
}

char *put_text(char *at, std::string_view text) {
    if (!text.empty()) memcpy(at, text.data(), text.size());
    at[text.size()] = 0;
    return at + text.size() + 1;
}

char *new_name_and_value(std::string_view name, std::string_view value) {
    char *const text = static_cast<char *>(MMemAlloc(nullptr, name.size() + value.size() + 2));
    if (text != nullptr) put_text(put_text(text, name), value);
    return text;
}

bool has_name(const char *own, std::string_view name) {
    return MSCsNICmp(own, name.data(), name.size()) == 0 && own[name.size()] == 0;
}

template <typename Node>
Node *find_node(Node *node, std::string_view name, IniSearch search) {
    Node *removed = nullptr;
    for (; node != nullptr; node = node->next) {
        if (!has_name(node->name, name)) continue;
        if (!is_removed(node->state)) return node;
        if (removed == nullptr) removed = node;
    }
    return search == IniSearch::LiveThenRemoved ? removed : nullptr;
}

}  // namespace

IniSection *append_ini_section(MIniFile *ini, std::string_view name, IniPlace place, IniState state) {
    char *const text = static_cast<char *>(MMemAlloc(nullptr, name.size() + 1));
    if (text == nullptr) return nullptr;
    IniSection *const section = take_node(&ini->section_pools, &ini->sections_in_pool);
    if (section == nullptr) {
        MMemFree(nullptr, text);
        return nullptr;
    }
    put_text(text, name);
    section->name = text;
    section->place = place;
    section->state = state;
    link_last(section, &ini->first_section, &ini->last_section);
    return section;
}

IniKey *append_ini_key(MIniFile *ini, IniSection *section, std::string_view name, std::string_view value,
                       IniPlace place, IniState state) {
    char *const text = new_name_and_value(name, value);
    if (text == nullptr) return nullptr;
    IniKey *const key = take_node(&ini->key_pools, &ini->keys_in_pool);
    if (key == nullptr) {
        MMemFree(nullptr, text);
        return nullptr;
    }
    key->name = text;
    key->value = text + name.size() + 1;
    key->place = place;
    key->state = state;
    link_last(key, &section->first_key, &section->last_key);
    return key;
}

bool set_ini_value(IniKey *key, std::string_view value) {
    if (value.size() <= strlen(key->value)) {
        // The new value may be the old one, handed in by its address.
        memmove(key->value, value.data(), value.size());
        key->value[value.size()] = 0;
        return true;
    }
    char *const text = new_name_and_value(key->name, value);
    if (text == nullptr) return false;
    key->value = text + strlen(key->name) + 1;
    MMemFree(nullptr, key->name);
    key->name = text;
    return true;
}

IniSection *find_ini_section(MIniFile *ini, std::string_view name, IniSearch search) {
    return find_node(ini->first_section, name, search);
}

IniKey *find_ini_key(IniSection *section, std::string_view name, IniSearch search) {
    return find_node(section->first_key, name, search);
}

void free_ini_nodes(MIniFile *ini) {
    for (IniSection *section = ini->first_section; section != nullptr; section = section->next) {
        for (IniKey *key = section->first_key; key != nullptr; key = key->next)
            MMemFree(nullptr, key->name);
        MMemFree(nullptr, section->name);
    }
    free_pools(ini->section_pools);
    free_pools(ini->key_pools);
}

}  // namespace quorv
