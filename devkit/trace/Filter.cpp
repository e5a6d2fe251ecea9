// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/Filter.h"

#include "devkit/trace/Load.h"
#include "wire/Frame.h"

#include <utility>

namespace cabinaudio::trace {

std::vector<Record> Filter::pass(const Record& record) {
    if (record.kind == Kind::Lost) return {record};
    Connection& connection = mConnections[record.connection];
    if (connection.verdict == Verdict::Open) connection.verdict = judge(record);
    std::vector<Record> passed;
    if (connection.verdict == Verdict::Open) connection.waiting.push_back(record);
    if (connection.verdict == Verdict::Wanted) {
        passed = std::exchange(connection.waiting, {});
        passed.push_back(record);
    }
    if (record.kind == Kind::Disconnected) mConnections.erase(record.connection);
    return passed;
}

/// By the connection's number, or by its registration.
Filter::Verdict Filter::judge(const Record& record) const {
    if (mWanted.connection && *mWanted.connection != record.connection) return Verdict::Unwanted;
    if (!mWanted.name && !mWanted.type) return Verdict::Wanted;
    const auto header = load<audio_param>(record.bytes);
    const bool isRegistration = record.kind == Kind::ToServer &&
                                record.bytes.size() == sizeof header &&
                                header.cmd == AUDIO_CMD_REGISTER;
    if (!isRegistration) return Verdict::Open;
    const std::string name(header.name, strnlen(header.name, sizeof header.name));
    const bool isWanted =
        (!mWanted.name || *mWanted.name == name) && (!mWanted.type || *mWanted.type == header.type);
    return isWanted ? Verdict::Wanted : Verdict::Unwanted;
}

}  // namespace cabinaudio::trace
