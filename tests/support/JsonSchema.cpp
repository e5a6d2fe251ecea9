// SPDX-License-Identifier: Apache-2.0
#include "tests/support/JsonSchema.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace cabinaudio::test {

using nlohmann::json;

namespace {

bool isOfType(const json& value, const std::string& type) {
    if (type == "object") return value.is_object();
    if (type == "array") return value.is_array();
    if (type == "string") return value.is_string();
    if (type == "boolean") return value.is_boolean();
    if (type == "null") return value.is_null();
    if (type == "number") return value.is_number();
    if (type == "integer") return value.is_number_integer();
    throw std::logic_error("unknown type in the schema: " + type);
}

class Validator {
public:
    explicit Validator(const json& schema) : mSchema(schema) {}

    [[nodiscard]] std::string fault(const std::string& definition, const json& value) const {
        return check(mSchema.at("$defs").at(definition), value, definition);
    }

private:
    using Check = std::string (Validator::*)(const json& rule, const json& value,
                                             const std::string& at) const;

    [[nodiscard]] std::string check(const json& schema, const json& value,
                                    const std::string& at) const {
        static const std::map<std::string, Check> checks = {
            {"$ref", &Validator::reference},    {"type", &Validator::type},
            {"enum", &Validator::listed},       {"minimum", &Validator::minimum},
            {"maximum", &Validator::maximum},   {"items", &Validator::items},
            {"required", &Validator::required}, {"anyOf", &Validator::anyOf}};
        for (const auto& [keyword, rule] : schema.items()) {
            if (keyword == "description" || keyword == "properties" ||
                keyword == "additionalProperties")
                continue;
            const auto found = checks.find(keyword);
            if (found == checks.end())
                throw std::logic_error("unknown keyword in the schema: " + keyword);
            if (std::string fault = (this->*found->second)(rule, value, at); !fault.empty())
                return fault;
        }
        return value.is_object() ? members(schema, value, at) : "";
    }

    [[nodiscard]] std::string reference(const json& rule, const json& value,
                                        const std::string& at) const {
        const std::string place = rule.get<std::string>().substr(1);  // behind the '#'
        return check(mSchema.at(json::json_pointer(place)), value, at);
    }

    [[nodiscard]] std::string type(const json& rule, const json& value,
                                   const std::string& at) const {
        const json types = rule.is_array() ? rule : json::array({rule});
        const bool fits = std::any_of(types.begin(), types.end(), [&](const json& one) {
            return isOfType(value, one.get<std::string>());
        });
        return fits ? "" : at + " is " + value.type_name() + ", not " + rule.dump();
    }

    [[nodiscard]] std::string listed(const json& rule, const json& value,
                                     const std::string& at) const {
        const bool isListed = std::find(rule.begin(), rule.end(), value) != rule.end();
        return isListed ? "" : at + " is " + value.dump() + ", not one of " + rule.dump();
    }

    [[nodiscard]] std::string minimum(const json& rule, const json& value,
                                      const std::string& at) const {
        const bool fits = !value.is_number() || value.get<double>() >= rule.get<double>();
        return fits ? "" : at + " is " + value.dump() + ", less than " + rule.dump();
    }

    [[nodiscard]] std::string maximum(const json& rule, const json& value,
                                      const std::string& at) const {
        const bool fits = !value.is_number() || value.get<double>() <= rule.get<double>();
        return fits ? "" : at + " is " + value.dump() + ", more than " + rule.dump();
    }

    [[nodiscard]] std::string items(const json& rule, const json& value,
                                    const std::string& at) const {
        for (std::size_t i = 0; value.is_array() && i < value.size(); ++i)
            if (std::string fault = check(rule, value[i], at + "[" + std::to_string(i) + "]");
                !fault.empty())
                return fault;
        return "";
    }

    [[nodiscard]] std::string required(const json& rule, const json& value,
                                       const std::string& at) const {
        for (const json& key : rule)
            if (value.is_object() && !value.contains(key.get<std::string>()))
                return at + " lacks " + key.dump();
        return "";
    }

    [[nodiscard]] std::string anyOf(const json& rule, const json& value,
                                    const std::string& at) const {
        std::string faults;
        for (const json& one : rule) {
            const std::string fault = check(one, value, at);
            if (fault.empty()) return "";
            faults += (faults.empty() ? "" : "; or ") + fault;
        }
        return faults;
    }

    [[nodiscard]] std::string members(const json& schema, const json& value,
                                      const std::string& at) const {
        const json known = schema.value("properties", json::object());
        const json others = schema.value("additionalProperties", json(true));
        for (const auto& [key, member] : value.items()) {
            const bool isKnown = known.contains(key);
            if (!isKnown && others == false) return at + " has the unknown key \"" + key + "\"";
            if (!isKnown && others == true) continue;
            const json& rule = isKnown ? known.at(key) : others;
            std::string fault = check(rule, member, at + "." + key);
            if (!fault.empty()) return fault;
        }
        return "";
    }

    const json& mSchema;
};

const json& installedSchema() {
    static const json schema = [] {
        std::ifstream file(CABINAUDIO_TEST_SCHEMA);
        return json::parse(file);
    }();
    return schema;
}

/// The definitions of what a command prints besides its end.
std::vector<std::string> definitionsOf(const std::vector<std::string>& command) {
    static const std::map<std::string, std::vector<std::string>> known = {
        {"play", {"play"}},
        {"record", {"record"}},
        {"get", {"get"}},
        {"set", {"set"}},
        {"list", {"settings"}},
        {"describe", {"settings"}},
        {"version", {"version"}},
        {"doctor", {"doctor", "doctor_report"}},
        {"monitor", {"change", "monitor"}},
        {"server", {"state", "command", "time"}},
        {"top", {"top", "waiting"}},
        {"listen", {"listen"}},
        {"scenario", {"scenario"}},
        {"check", {"hearing"}},
        {"trace",
         {"trace_connection", "trace_registration", "trace_request", "trace_notification",
          "trace_ring", "trace_sound", "trace_lost", "trace_bytes", "trace"}}};
    const auto found = known.find(command.empty() ? "" : command.front());
    std::vector<std::string> definitions =
        found == known.end() ? std::vector<std::string>{} : found->second;
    definitions.emplace_back("end");
    return definitions;
}

}  // namespace

std::string schemaFault(const json& schema, const std::string& definition, const json& value) {
    return Validator(schema).fault(definition, value);
}

std::string schemaFault(const std::string& definition, const json& value) {
    return schemaFault(installedSchema(), definition, value);
}

void expectSchema(const std::string& definition, const json& value) {
    EXPECT_EQ(schemaFault(definition, value), "") << value.dump();
}

void expectJsonOf(const std::vector<std::string>& command, const std::string& output) {
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        const json value = json::parse(line, nullptr, false);
        std::string faults = value.is_discarded() ? "no JSON" : "";
        for (const std::string& definition : definitionsOf(command)) {
            if (value.is_discarded()) break;
            const std::string fault = schemaFault(definition, value);
            if (fault.empty()) {
                faults.clear();
                break;
            }
            faults += (faults.empty() ? "" : "; or ") + fault;
        }
        EXPECT_EQ(faults, "") << line;
    }
}

}  // namespace cabinaudio::test
