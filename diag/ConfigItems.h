// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "diag/LineReader.h"
#include "foundation/Log.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <list>
#include <memory>
#include <ostream>

/// Common code of dump and trace items: a list of heap copies, with each pair of tag and usage
/// once.
namespace cabinaudio {

template <typename Item>
using ConfigItems = std::list<Item*>;

/// Copies as much as fits and fills the rest with zeros. Never reads beyond the bytes that it can
/// copy.
template <std::size_t SIZE>
void copyText(char (&to)[SIZE], const char* from) {
    const std::size_t length = strnlen(from, SIZE - 1);
    std::memcpy(to, from, length);
    std::memset(to + length, 0, SIZE - length);
}

/// A copy of the item with every string terminated inside its field.
template <typename Item>
Item terminated(const Item& item) {
    Item copy;
    copyText(copy.tag, item.tag);
    copyText(copy.usage, item.usage);
    copyText(copy.outPath, item.outPath);
    return copy;
}

template <typename Item>
auto findItem(ConfigItems<Item>& items, const Item& key) {
    return std::find_if(items.begin(), items.end(), [&key](const Item* item) {
        return std::strcmp(item->tag, key.tag) == 0 && std::strcmp(item->usage, key.usage) == 0;
    });
}

// The argument of addItem() and removeItem() may be a stored item itself, hence the copies.
template <typename Item>
void addItem(ConfigItems<Item>& items, const Item& item) {
    auto copy = std::make_unique<Item>(terminated(item));
    const auto known = findItem(items, *copy);
    if (known != items.end()) {
        copyText((*known)->outPath, copy->outPath);
    } else {
        items.push_back(copy.get());
        static_cast<void>(copy.release());
    }
}

template <typename Item>
void removeItem(ConfigItems<Item>& items, const Item& item) {
    const auto found = findItem(items, terminated(item));
    if (found == items.end()) return;
    delete *found;
    items.erase(found);
}

template <typename Item>
void clearItems(ConfigItems<Item>& items) {
    for (const Item* item : items)
        delete item;
    items.clear();
}

/// The stored item of this tag and usage, or null. A match is logged for `site`.
template <typename Item>
Item* getItem(ConfigItems<Item>& items, const char* tag, const char* usage, const LogSite& site) {
    if (tag == nullptr || usage == nullptr) return nullptr;
    Item key = {};
    copyText(key.tag, tag);
    copyText(key.usage, usage);
    const auto found = findItem(items, key);
    if (found == items.end()) return nullptr;
    AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "%02d-%02d: tag:%s usage:%s\n", 1,
                 static_cast<int>(items.size()), key.tag, key.usage);
    return *found;
}

template <std::size_t SIZE>
bool readField(LineReader& lines, const char* key, char (&field)[SIZE]) {
    const char* const value = lines.nextValue(key);
    if (value != nullptr) copyText(field, value);
    return value != nullptr;
}

/// Reads the lines behind an item's keyword. @return false when a line is not the expected one
template <typename Item>
bool readItem(LineReader& lines, Item& item) {
    return readField(lines, " tag=", item.tag) && readField(lines, " usage=", item.usage) &&
           readField(lines, " outPath=", item.outPath);
}

template <typename Item>
void writeItems(std::ostream& out, const char* keyword, const ConfigItems<Item>& items) {
    for (const Item* item : items) {
        out << keyword << "\n tag=" << item->tag << "\n usage=" << item->usage
            << "\n outPath=" << item->outPath << std::endl;
    }
}

}  // namespace cabinaudio
