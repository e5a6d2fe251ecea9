// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Row.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace cabinaudio::test {

/// A client object that makes requests, of any class of settings.
class AnySetting {
public:
    virtual ~AnySetting() = default;
    /// Makes one request.
    virtual int ask() = 0;
};

template <typename Client, typename Ask>
class SettingOf : public AnySetting {
public:
    explicit SettingOf(Ask ask) : mAsk(ask) {}
    int ask() override { return mAsk(mClient); }

private:
    Client mClient;
    Ask mAsk;
};

/// One class of settings.
struct SettingKind : Row {
    std::uint32_t type;   // of its connection
    std::size_t replied;  // bytes of the answer to ask()
    std::unique_ptr<AnySetting> (*create)();
};

[[nodiscard]] const std::vector<SettingKind>& settingKinds();

}  // namespace cabinaudio::test
