// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Records to JSON and back: a record names its fields once, in a function
///
///     template <typename Fields, typename Record>
///     void visit(Fields& fields, Record& record) {
///         fields("gain_db", record.gain, isGain);
///     }
///
/// which is called with a FieldWriter or a FieldReader. The last argument checks a value that was
/// read. Argument-dependent lookup on the first argument finds the functions.
namespace cabinaudio::server::json_fields {

using nlohmann::json;

/// A value of the wrong kind.
class Mismatch : public std::runtime_error {
public:
    explicit Mismatch(const std::string& wanted) : std::runtime_error("is not " + wanted) {}
};

template <typename Value>
struct Codec;

template <typename Value>
json encode(const Value& value) {
    return Codec<Value>::encode(value);
}

class FieldWriter {
public:
    template <typename Value, typename Check>
    void operator()(const char* key, const Value& value, Check /*isAccepted*/) {
        mJson[key] = encode(value);
    }

    [[nodiscard]] json take() { return std::move(mJson); }

private:
    json mJson = json::object();
};

/// State of reading a document.
struct Reading {
    std::string path;  // of the current value
    std::vector<std::string> unknown;

    /// Prefixes exceptions of `read` with the path.
    template <typename Read>
    auto at(const std::string& step, Read read) {
        const std::string before = path;
        path += (path.empty() ? "" : ".") + step;
        auto result = read();
        path = before;
        return result;
    }
};

template <typename Value>
Value decode(const json& from, Reading& reading) {
    return Codec<Value>::decode(from, reading);
}

class FieldReader {
public:
    FieldReader(const json& from, Reading& reading) : mJson(from), mReading(reading) {
        if (!from.is_object()) throw Mismatch("an object");
    }

    template <typename Value, typename Check>
    void operator()(const char* key, Value& value, Check isAccepted) {
        mKnown.insert(key);
        const auto found = mJson.find(key);
        if (found == mJson.end()) return;
        value = mReading.at(key, [&] {
            auto read = decode<Value>(*found, mReading);
            if (!isAccepted(read)) throw std::runtime_error("is out of range");
            return read;
        });
    }

    void reportUnknown() {
        const std::string prefix = mReading.path.empty() ? "" : mReading.path + ".";
        for (const auto& [key, value] : mJson.items())
            if (!mKnown.contains(key)) mReading.unknown.push_back(prefix + key);
    }

private:
    const json& mJson;
    Reading& mReading;
    std::set<std::string> mKnown;
};

// ---- Kinds of values ----------------------------------------------------------------------------

/// Records.
template <typename Record>
struct Codec {
    static json encode(const Record& record) {
        FieldWriter fields;
        visit(fields, record);
        return fields.take();
    }
    static Record decode(const json& from, Reading& reading) {
        Record record;
        FieldReader fields(from, reading);
        visit(fields, record);
        fields.reportUnknown();
        return record;
    }
};

template <>
struct Codec<bool> {
    static json encode(bool value) { return value; }
    static bool decode(const json& from, Reading&) {
        if (!from.is_boolean()) throw Mismatch("true or false");
        return from.get<bool>();
    }
};

template <std::integral Number>
struct Codec<Number> {
    static json encode(Number value) { return value; }
    static Number decode(const json& from, Reading&) {
        const double number = from.is_number_integer() ? from.get<double>() : 0.5;
        if (!(number >= double{std::numeric_limits<Number>::min()} &&
              number <= double{std::numeric_limits<Number>::max()}) ||
            !from.is_number_integer()) {
            throw Mismatch("a whole number of its size");
        }
        return from.get<Number>();
    }
};

template <>
struct Codec<float> {
    /// The shortest decimal number that reads back as the same float.
    static json encode(float value) {
        char text[64];
        const auto end = std::to_chars(std::begin(text), std::end(text), value).ptr;
        double shortest = 0;
        std::from_chars(std::begin(text), end, shortest);
        return shortest;
    }
    static float decode(const json& from, Reading&) {
        if (!from.is_number()) throw Mismatch("a number");
        const auto value = from.get<double>();
        constexpr double LARGEST = std::numeric_limits<float>::max();
        if (!(value >= -LARGEST && value <= LARGEST)) throw Mismatch("a number of its size");
        return static_cast<float>(value);
    }
};

template <>
struct Codec<std::string> {
    static json encode(const std::string& value) { return value; }
    static std::string decode(const json& from, Reading&) {
        if (!from.is_string()) throw Mismatch("a text");
        return from.get<std::string>();
    }
};

/// Bytes are pairs of hexadecimal digits.
template <>
struct Codec<std::vector<std::uint8_t>> {
    static json encode(const std::vector<std::uint8_t>& bytes) {
        constexpr char DIGITS[] = "0123456789abcdef";
        std::string text;
        for (const std::uint8_t byte : bytes) {
            text += DIGITS[byte >> 4];
            text += DIGITS[byte & 15];
        }
        return text;
    }
    static std::vector<std::uint8_t> decode(const json& from, Reading& reading) {
        const auto text = Codec<std::string>::decode(from, reading);
        std::vector<std::uint8_t> bytes(text.size() / 2);
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const char* const begin = text.data() + 2 * i;
            if (std::from_chars(begin, begin + 2, bytes[i], 16).ptr != begin + 2)
                throw Mismatch("in hexadecimal digits");
        }
        if (text.size() % 2 != 0) throw Mismatch("in pairs of hexadecimal digits");
        return bytes;
    }
};

template <typename Value, std::size_t SIZE>
struct Codec<std::array<Value, SIZE>> {
    static json encode(const std::array<Value, SIZE>& values) {
        json result = json::array();
        for (const Value& value : values)
            result.push_back(json_fields::encode(value));
        return result;
    }
    static std::array<Value, SIZE> decode(const json& from, Reading& reading) {
        if (!from.is_array() || from.size() != SIZE)
            throw Mismatch("a list of " + std::to_string(SIZE));
        std::array<Value, SIZE> values{};
        for (std::size_t i = 0; i < SIZE; ++i) {
            values[i] = reading.at(std::to_string(i),
                                   [&] { return json_fields::decode<Value>(from[i], reading); });
        }
        return values;
    }
};

inline std::string textOfKey(const std::string& key) {
    return key;
}
template <std::integral Number>
std::string textOfKey(Number key) {
    return std::to_string(key);
}

inline void takeKey(const std::string& text, std::string& key) {
    key = text;
}
template <std::integral Number>
void takeKey(const std::string& text, Number& key) {
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, key);
    if (error != std::errc() || rest != end) throw Mismatch("under a number");
}

template <typename Key, typename Value>
struct Codec<std::map<Key, Value>> {
    static json encode(const std::map<Key, Value>& values) {
        json result = json::object();
        for (const auto& [key, value] : values)
            result[textOfKey(key)] = json_fields::encode(value);
        return result;
    }
    static std::map<Key, Value> decode(const json& from, Reading& reading) {
        if (!from.is_object()) throw Mismatch("an object");
        std::map<Key, Value> values;
        for (const auto& [text, value] : from.items()) {
            Key key{};
            const json& content = value;
            values[key] = reading.at(text, [&, &name = text] {
                takeKey(name, key);
                return json_fields::decode<Value>(content, reading);
            });
        }
        return values;
    }
};

/// A map keyed by two names becomes a list of records that contain both names.
template <typename Value>
struct Codec<std::map<std::pair<std::string, std::string>, Value>> {
    using Map = std::map<std::pair<std::string, std::string>, Value>;

    /// Forwards to the fields of the value, after those of the names.
    struct Entry {
        std::pair<std::string, std::string> name;
        Value value;
    };

    static json encode(const Map& values) {
        json result = json::array();
        for (const auto& [name, value] : values) {
            json entry = json_fields::encode(value);
            entry["tag"] = name.first;
            entry["name"] = name.second;
            result.push_back(std::move(entry));
        }
        return result;
    }
    static Map decode(const json& from, Reading& reading) {
        if (!from.is_array()) throw Mismatch("a list");
        Map values;
        for (std::size_t i = 0; i < from.size(); ++i) {
            Entry entry =
                reading.at(std::to_string(i), [&] { return decodeEntry(from[i], reading); });
            values[entry.name] = std::move(entry.value);
        }
        return values;
    }

private:
    static Entry decodeEntry(const json& from, Reading& reading) {
        Entry entry;
        const auto isName = [](const std::string& name) { return !name.empty(); };
        FieldReader fields(from, reading);
        fields("tag", entry.name.first, isName);
        fields("name", entry.name.second, isName);
        visit(fields, entry.value);
        fields.reportUnknown();
        if (!isName(entry.name.first) || !isName(entry.name.second))
            throw std::runtime_error("has no tag or no name");
        return entry;
    }
};

}  // namespace cabinaudio::server::json_fields
