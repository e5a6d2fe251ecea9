// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

#include <algorithm>
#include <bit>
#include <iterator>

namespace cabinaudio::test {
namespace {

constexpr std::uint8_t UNTOUCHED = 0xee;
constexpr std::size_t FIELD = 64;

}  // namespace

Bytes word(std::uint32_t value) {
    Bytes bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    return bytes;
}

Bytes number(std::int32_t value) {
    return word(static_cast<std::uint32_t>(value));
}

Bytes real(float value) {
    return word(std::bit_cast<std::uint32_t>(value));
}

Bytes byte(std::uint8_t value) {
    return {value, 0, 0, 0};
}

Bytes text(const std::string& value) {
    Bytes bytes(value.begin(), value.end());
    bytes.resize(FIELD);
    return bytes;
}

Bytes pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(1 + i % 211);
    return bytes;
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

Clients::Clients(std::uint32_t type) {
    if (type == VOLUME) mVolume = std::make_unique<ClientVolumeSetting>();
    if (type == SOURCE) mSource = std::make_unique<ClientSourceSetting>();
    if (type == APP) mApp = std::make_unique<ClientAppSetting>();
    if (type == MIXER) mMixer = std::make_unique<ClientMixerSetting>();
    if (type == RECORD_CONTROL) mRecord = std::make_unique<ClientAudioRecordControl>();
}

Outputs::Outputs() : mBefore(sizeof mBytes, UNTOUCHED) {
    std::memset(mBytes, UNTOUCHED, sizeof mBytes);
}

void Outputs::prepare(std::size_t offset, const Bytes& bytes) {
    std::memcpy(mBytes + offset, bytes.data(), bytes.size());
    std::memcpy(mBefore.data() + offset, bytes.data(), bytes.size());
}

bool Outputs::holds(const Bytes& stored) const {
    Bytes expected = mBefore;
    std::copy(stored.begin(), stored.end(), expected.begin());
    return std::equal(expected.begin(), expected.end(), mBytes);
}

Bytes Outputs::first(std::size_t size) const {
    return Bytes(mBytes, mBytes + size);
}

std::vector<OperationRow> ofType(std::uint32_t type,
                                 const std::vector<std::vector<OperationRow>>& parts) {
    std::vector<OperationRow> rows;
    for (const std::vector<OperationRow>& part : parts)
        rows.insert(rows.end(), part.begin(), part.end());
    for (OperationRow& row : rows)
        row.type = type;
    return rows;
}

std::vector<OperationRow> rowsWhere(const std::function<bool(const OperationRow&)>& isWanted) {
    std::vector<OperationRow> chosen;
    for (const auto& rows :
         {volumeRows(), sourceRows(), appRows(), mixerRows(), recordControlRows()})
        std::copy_if(rows.begin(), rows.end(), std::back_inserter(chosen), isWanted);
    return chosen;
}

std::uint32_t functionOf(const OperationRow& row) {
    return static_cast<std::uint32_t>(row.request[0] + 256 * row.request[1]);
}

}  // namespace cabinaudio::test
