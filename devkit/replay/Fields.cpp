// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Fields.h"

#include "devkit/replay/Message.h"
#include "devkit/replay/Title.h"
#include "devkit/text/Printable.h"
#include "devkit/trace/WireFields.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <string_view>

namespace cabinaudio::replay {

namespace {

using trace::FieldType;
using trace::WireField;
using trace::WireOperation;
using trace::WireRecord;

using View = std::span<const std::uint8_t>;

/// They differ in every run: identities and times, and levels of the sound at that moment.
constexpr std::array DIFFERENT_BY_NATURE = {"handle", "timestamp", "sendTimeUs",
                                            "pid",    "address",   "levels"};

template <typename Number>
std::string numberText(View bytes) {
    return std::to_string(recordAt<Number>(bytes, 0));
}

std::string floatText(View bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", static_cast<double>(recordAt<float>(bytes, 0)));
    return text;
}

std::string textOf(View bytes) {
    const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    return '"' + text::printableInQuotes(std::string(bytes.begin(), end)) + '"';
}

std::string hexText(View bytes) {
    constexpr std::size_t MOST = 16;
    std::string text;
    for (const std::uint8_t byte : bytes.first(std::min(MOST, bytes.size()))) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x ", unsigned{byte});
        text += digits;
    }
    if (bytes.size() > MOST) return text + "...";
    if (!text.empty()) text.pop_back();
    return text;
}

std::string valueText(const WireField& field, View bytes) {
    switch (field.type) {
        case FieldType::U8:
            return numberText<std::uint8_t>(bytes);
        case FieldType::U16:
            return numberText<std::uint16_t>(bytes);
        case FieldType::U32:
            return numberText<std::uint32_t>(bytes);
        case FieldType::U64:
            return numberText<std::uint64_t>(bytes);
        case FieldType::I32:
            return numberText<std::int32_t>(bytes);
        case FieldType::F32:
            return floatText(bytes);
        case FieldType::Text:
            return textOf(bytes);
        case FieldType::Bytes:
        case FieldType::Unused:
        case FieldType::Record:
            break;
    }
    return hexText(bytes);
}

/// Visits the fields that both messages have whole, element by element.
class Walk {
public:
    using Visit = std::function<void(const std::string& field, const std::string& recorded,
                                     const std::string& got)>;

    Walk(View recorded, View got, Visit visit)
        : mRecorded(recorded), mGot(got), mVisit(std::move(visit)) {}

    void through(const WireRecord& record, std::size_t begin, const std::string& prefix) const {
        for (const WireField& field : record.fields)
            if (field.type != FieldType::Unused) through(field, begin, prefix);
    }

    /// Bytes that no field describes.
    void throughRest(std::size_t begin) const {
        const std::size_t end = std::min(mRecorded.size(), mGot.size());
        for (std::size_t i = begin; i < end; ++i)
            if (mRecorded[i] != mGot[i]) {
                const std::string place = "byte " + std::to_string(i - begin) + " of the block";
                mVisit(place, hexText(mRecorded.subspan(i, 1)), hexText(mGot.subspan(i, 1)));
                return;
            }
    }

private:
    /// A text is one element of many bytes, or an array of such.
    void through(const WireField& field, std::size_t begin, const std::string& prefix) const {
        for (unsigned i = 0; i < field.count; ++i) {
            const std::size_t at = begin + field.offset + std::size_t{i} * field.size;
            if (at + field.size > std::min(mRecorded.size(), mGot.size())) return;
            std::string name = prefix + field.name;
            if (field.count > 1) name += "[" + std::to_string(i) + "]";
            if (field.slots != nullptr)
                through(*field.slots, at, name + ".");
            else
                element(field, at, name);
        }
    }

    void element(const WireField& field, std::size_t at, const std::string& name) const {
        const View recorded = mRecorded.subspan(at, field.size);
        const View got = mGot.subspan(at, field.size);
        if (std::equal(recorded.begin(), recorded.end(), got.begin())) return;
        const std::string was = valueText(field, recorded);
        const std::string is = valueText(field, got);
        // Bytes behind the end of a text mean nothing.
        if (field.type != FieldType::Text || was != is) mVisit(name, was, is);
    }

    View mRecorded;
    View mGot;
    Visit mVisit;
};

View tail(View bytes, std::size_t begin) {
    return bytes.subspan(std::min(begin, bytes.size()));
}

std::string bytesText(std::size_t bytes) {
    return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}

/// "field" of "field[3]" and of "list[2].field".
std::string plainName(const std::string& field) {
    const std::size_t dot = field.rfind('.');
    const std::string last = dot == std::string::npos ? field : field.substr(dot + 1);
    return last.substr(0, last.find('['));
}

bool hasField(const WireRecord* record, std::string_view name) {
    return record != nullptr &&
           std::any_of(record->fields.begin(), record->fields.end(), [&](const WireField& field) {
               return name == field.name || hasField(field.slots, name);
           });
}

}  // namespace

Fields::Fields(const std::vector<std::string>& ignored)
    : mIgnored(DIFFERENT_BY_NATURE.begin(), DIFFERENT_BY_NATURE.end()) {
    mIgnored.insert(ignored.begin(), ignored.end());
}

bool Fields::isKnown(const std::string& field) {
    const std::size_t dot = field.find('.');
    const std::string operation = dot == std::string::npos ? "" : field.substr(0, dot);
    const std::string name = dot == std::string::npos ? field : field.substr(dot + 1);
    if (operation.empty() &&
        (hasField(&trace::clientHeader(), name) || hasField(&trace::frameHeader(), name)))
        return true;
    const auto operations = trace::wireOperations();
    return std::any_of(operations.begin(), operations.end(), [&](const WireOperation& one) {
        return (operation.empty() || operation == one.name) &&
               (hasField(one.request, name) || hasField(one.reply, name));
    });
}

bool Fields::isIgnored(const std::string& operation, const std::string& field) const {
    const std::string name = plainName(field);
    return mIgnored.contains(name) || mIgnored.contains(operation + '.' + name);
}

std::vector<FieldDifference> Fields::compareRequests(std::uint32_t type, View recorded,
                                                     View got) const {
    std::vector<FieldDifference> differences;
    const std::optional<std::uint32_t> function = functionOf(recorded);
    const std::string operation = function ? operationName(type, *function) : "registration";
    const auto add = [&](const std::string& field, const std::string& was, const std::string& is) {
        if (!isIgnored(operation, field)) differences.push_back({field, was, is});
    };
    const Walk header(recorded, got, add);
    header.through(trace::clientHeader(), 0, "");
    // The length in the header has told it already, in a message that is as long as that says.
    if (recorded.size() != got.size() && headerOf(recorded).length == headerOf(got).length)
        add("size", bytesText(recorded.size()), bytesText(got.size()));
    if (!function) return differences;
    const WireOperation* const found = trace::findOperation(type, *function);
    const Walk payload(tail(recorded, sizeof(audio_param)), tail(got, sizeof(audio_param)), add);
    if (found != nullptr) payload.through(*found->request, 0, "");
    payload.throughRest(found != nullptr ? found->request->size : 0);
    return differences;
}

std::vector<FieldDifference> Fields::compareRegistrations(View recorded, View got) const {
    const auto handleOf = [](View reply) {
        return recordAt<wire::RegistrationReply>(reply, sizeof(SocketFrameHeader)).handle;
    };
    std::vector<FieldDifference> differences;
    const bool wasAccepted = handleOf(recorded) != 0;
    const bool isAccepted = handleOf(got) != 0;
    if (wasAccepted != isAccepted)
        differences.push_back(
            {"handle", wasAccepted ? "accepted" : "refused", isAccepted ? "accepted" : "refused"});
    if (recorded.size() != got.size() && !isIgnored("registration", "size"))
        differences.push_back({"size", bytesText(recorded.size()), bytesText(got.size())});
    return differences;
}

std::vector<FieldDifference> Fields::compareReplies(std::uint32_t type, std::uint32_t function,
                                                    View recorded, View got) const {
    std::vector<FieldDifference> differences;
    const std::string operation = operationName(type, function);
    const auto add = [&](const std::string& field, const std::string& was, const std::string& is) {
        if (!isIgnored(operation, field)) differences.push_back({field, was, is});
    };
    const SocketFrameHeader wasFrame = frameOf(recorded);
    const SocketFrameHeader isFrame = frameOf(got);
    if (wasFrame.magic != isFrame.magic)
        add("magic", std::to_string(wasFrame.magic), std::to_string(isFrame.magic));
    if (wasFrame.headerId != isFrame.headerId)
        add("headerId", std::to_string(wasFrame.headerId), std::to_string(isFrame.headerId));
    if (recorded.size() != got.size())
        add("size", bytesText(bodySizeOf(recorded)), bytesText(bodySizeOf(got)));
    const WireOperation* const found = trace::findOperation(type, function);
    const Walk body(tail(recorded, sizeof wasFrame), tail(got, sizeof isFrame), add);
    if (found != nullptr) body.through(*found->reply, 0, "");
    body.throughRest(found != nullptr ? found->reply->size : 0);
    return differences;
}

std::vector<FieldDifference> Fields::compareNotifications(View recorded, View got) const {
    std::vector<FieldDifference> differences;
    const SocketFrameHeader was = frameOf(recorded);
    const SocketFrameHeader is = frameOf(got);
    if (was.event != is.event)
        differences.push_back({"event", std::to_string(was.event), std::to_string(is.event)});
    if (was.param != is.param && !isIgnored("notification", "param"))
        differences.push_back({"param", std::to_string(was.param), std::to_string(is.param)});
    return differences;
}

}  // namespace cabinaudio::replay
