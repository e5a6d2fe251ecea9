// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/FieldsJson.h"

#include "devkit/text/Format.h"
#include "devkit/trace/Load.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

namespace cabinaudio::trace {
namespace {

using Bytes = std::span<const std::uint8_t>;
using Json = nlohmann::ordered_json;

/// JSON has no infinities: null. Of other values, the digits that a float has.
Json floatOf(Bytes bytes) {
    const auto value = load<float>(bytes);
    if (!std::isfinite(value)) return nullptr;
    return std::stod(text::format("%.9g", static_cast<double>(value)));
}

Json textField(Bytes bytes) {
    const auto* const begin = reinterpret_cast<const char*>(bytes.data());
    return std::string(begin, strnlen(begin, bytes.size()));
}

/// @param bytes  of one element
Json elementOf(const WireField& field, Bytes bytes) {
    switch (field.type) {
        case FieldType::U8:
            return bytes.front();
        case FieldType::U16:
            return load<std::uint16_t>(bytes);
        case FieldType::U32:
            return load<std::uint32_t>(bytes);
        case FieldType::U64:
            return load<std::uint64_t>(bytes);
        case FieldType::I32:
            return load<std::int32_t>(bytes);
        case FieldType::F32:
            return floatOf(bytes);
        case FieldType::Text:
            return textField(bytes);
        case FieldType::Record:
            return fieldsOf(*field.slots, bytes, "");
        case FieldType::Bytes:
        case FieldType::Unused:
            break;
    }
    return hexOf(bytes);
}

Json valueOf(const WireField& field, Bytes bytes, std::size_t used) {
    if (field.type == FieldType::Bytes)
        return hexOf(bytes.first(std::size_t{field.count} * field.size));
    const bool isList = field.count > 1 || field.type == FieldType::Record;
    if (!isList) return elementOf(field, bytes.first(field.size));
    Json list = Json::array();
    for (std::size_t i = 0; i < std::min<std::size_t>(field.count, used); ++i)
        list.push_back(elementOf(field, bytes.subspan(i * field.size, field.size)));
    return list;
}

Json maskNames(const WireField& field, std::int64_t value) {
    std::string names;
    for (const WireChoice& choice : field.choices)
        if (choice.value != 0 && (value & choice.value) == choice.value)
            names += (names.empty() ? "" : "+") + std::string(choice.name);
    return names.empty() ? Json(nullptr) : Json(names);
}

Json nameOfValue(const WireField& field, const Json& value) {
    if (field.choices.empty() || !value.is_number_integer()) return nullptr;
    const auto number = value.get<std::int64_t>();
    if (field.isMask) return maskNames(field, number);
    const char* const name = nameOf(field.choices, number);
    return name != nullptr ? Json(name) : Json(nullptr);
}

Json fieldOf(const WireField& field, Bytes bytes, std::size_t used, const char* valueUnit) {
    Json value = valueOf(field, bytes, used);
    const bool isValue = std::string_view(field.name) == "value";
    const std::string_view unit = isValue && *field.unit == '\0' ? valueUnit : field.unit;
    Json name = nameOfValue(field, value);
    return {{"value", std::move(value)},
            {"unit", unit.empty() ? Json(nullptr) : Json(unit)},
            {"name", std::move(name)}};
}

/// The count of a list's used slots, which a foreign server may get wrong.
std::size_t usedOf(const WireField& field, Bytes bytes) {
    const auto count = load<std::int32_t>(bytes.subspan(field.offset));
    return static_cast<std::size_t>(std::max(count, 0));
}

bool isShown(const WireField& field, bool isMessage) {
    return field.type != FieldType::Unused && !(isMessage && field.offset == 0);
}

bool isMessage(const WireRecord& record) {
    const std::string_view first = record.fields.empty() ? "" : record.fields.front().name;
    return first == "function" || first == "status";
}

}  // namespace

std::string hexOf(Bytes bytes) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 15];
    }
    return text;
}

Json fieldsOf(const WireRecord& record, Bytes bytes, const char* valueUnit) {
    Json fields = Json::object();
    std::size_t used = bytes.size();  // no more than all
    for (const WireField& field : record.fields) {
        if (std::string_view(field.name) == "count") used = usedOf(field, bytes);
        if (!isShown(field, isMessage(record))) continue;
        fields[field.name] = fieldOf(field, bytes.subspan(field.offset), used, valueUnit);
    }
    if (record.hasBlock)
        fields["block"] = {
            {"value", hexOf(bytes.subspan(record.size))}, {"unit", nullptr}, {"name", nullptr}};
    return fields;
}

}  // namespace cabinaudio::trace
