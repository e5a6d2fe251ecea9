// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::plugin {

/// A descriptor that is readable while a program should look at its stream. Not thread-safe; the
/// descriptor may be polled at any time.
class ReadyEvent {
public:
    ReadyEvent();
    ~ReadyEvent();
    ReadyEvent(const ReadyEvent&) = delete;
    ReadyEvent& operator=(const ReadyEvent&) = delete;

    /// -1 when the process has no descriptor left.
    [[nodiscard]] int descriptor() const { return mDescriptor; }

    /// Makes it readable or not; a repetition costs nothing.
    void become(bool isReady);

private:
    int mDescriptor;
    bool mIsReady = false;
};

}  // namespace cabinaudio::plugin
