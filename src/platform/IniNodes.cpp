// The sections and keys of an INI file: making, finding and changing them; see the header.

#include "platform/IniNodes.h"

#include <quorv/platform/strings.h>
#include <string.h>

namespace quorv {
namespace {

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

Owned<char[]> name_and_value(std::string_view name, std::string_view value) {
    Owned<char[]> text = make_array<char>(uint64_t{name.size()} + value.size() + 2);
    if (text != nullptr) put_text(put_text(text.get(), name), value);
    return text;
}

bool has_name(const char *own, std::string_view name) {
    return MSCsNICmp(own, name.data(), name.size()) == 0 && own[name.size()] == 0;
}

template <typename Node>
Node *find_node(Node *node, std::string_view name, IniSearch search) {
    Node *removed = nullptr;
    for (; node != nullptr; node = node->next) {
        if (!has_name(node->name(), name)) continue;
        if (!is_removed(node->state)) return node;
        if (removed == nullptr) removed = node;
    }
    return search == IniSearch::LiveThenRemoved ? removed : nullptr;
}

}  // namespace

bool IniKey::set_value(std::string_view value_now) {
    if (value_now.size() <= strlen(value)) {
        // The new value may be the old one, handed in by its address.
        memmove(value, value_now.data(), value_now.size());
        value[value_now.size()] = 0;
        return true;
    }
    Owned<char[]> longer = name_and_value(name(), value_now);
    if (longer == nullptr) return false;
    value = longer.get() + strlen(name()) + 1;
    text = std::move(longer);
    return true;
}

IniKey *IniSection::find(std::string_view key_name, IniSearch search) {
    return find_node(first_key, key_name, search);
}

IniSection *IniSections::append(std::string_view name, IniPlace place, IniState state) {
    Owned<char[]> text = make_array<char>(uint64_t{name.size()} + 1);
    if (text == nullptr) return nullptr;
    IniSection *section = sections_.take();
    if (section == nullptr) return nullptr;
    put_text(text.get(), name);
    section->text = std::move(text);
    section->place = place;
    section->state = state;
    link_last(section, &first_, &last_);
    return section;
}

IniKey *IniSections::append_key(IniSection *section, std::string_view name, std::string_view value,
                                IniPlace place, IniState state) {
    Owned<char[]> text = name_and_value(name, value);
    if (text == nullptr) return nullptr;
    IniKey *key = keys_.take();
    if (key == nullptr) return nullptr;
    key->value = text.get() + name.size() + 1;
    key->text = std::move(text);
    key->place = place;
    key->state = state;
    link_last(key, &section->first_key, &section->last_key);
    return key;
}

IniSection *IniSections::find(std::string_view name, IniSearch search) const {
    return find_node(first_, name, search);
}

}  // namespace quorv
