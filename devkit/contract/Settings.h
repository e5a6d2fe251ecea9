// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/contract/Bytes.h"
#include "devkit/contract/Connection.h"
#include "devkit/contract/Session.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::contract {

/// A setting that can be read: what selects it in the requests, and the place of its value in the
/// reply. The value has the same bytes in the setter's request.
struct Readable {
    std::string name;  // "volume.master.step"
    audio_connect_type type;
    std::uint32_t setter;
    std::uint32_t getter;
    Bytes setKey;       // between function id and value
    Bytes getKey;       // after the function id
    std::size_t place;  // of the value in the reply to the getter
    Bytes first;        // two allowed values
    Bytes second;
    bool hasFlag = true;
};

[[nodiscard]] const std::vector<Readable>& readableSettings();

/// A value that the server must refuse.
struct Refused {
    std::string name;  // "volume.master.step"
    audio_connect_type type;
    Bytes payload;         // of the setter
    std::string value;     // "step 200", for messages
    std::string readable;  // setting that must not change; empty: none can be read
    bool hasFlag = true;
};

[[nodiscard]] const std::vector<Refused>& refusedValues();

/// A setting that cannot be read, with the value that the development server has at first.
struct WriteOnly {
    std::string name;
    audio_connect_type type;
    Bytes payload;  // of the setter
    bool hasFlag = true;
};

[[nodiscard]] const std::vector<WriteOnly>& writeOnlySettings();

/// Value of a setting. @throws NotJudged when the server refuses to tell it
[[nodiscard]] Bytes valueOf(Connection& connection, const Readable& setting);

/// Sets a value. @return the status
[[nodiscard]] std::int32_t setValue(Connection& connection, const Readable& setting,
                                    const Bytes& value);

/// Sends a request that sets a setting back, at the end of its life, also after an exception.
class Restoration {
public:
    /// @param name  of the setting, for the report
    Restoration(Session& session, std::string name, audio_connect_type type, Bytes payload,
                bool hasFlag = true);
    ~Restoration();
    Restoration(const Restoration&) = delete;
    Restoration& operator=(const Restoration&) = delete;

private:
    void restore() const;

    Session& mSession;
    std::string mName;
    audio_connect_type mType;
    Bytes mPayload;
    bool mHasFlag;
};

}  // namespace cabinaudio::contract
