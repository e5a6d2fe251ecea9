// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Event.h"
#include "tools/play/OggEnd.h"

#include <exception>
#include <memory>
#include <thread>

namespace cabinaudio::tool {

class InputBytes;

/// Hands a pipe on to a library that reads a descriptor, together with the bytes that were looked
/// at. A thread of its own passes the bytes on as they come.
class PipeFeed {
public:
    explicit PipeFeed(std::unique_ptr<InputBytes> input);
    /// Close the reading end first: the thread may wait for space in it.
    ~PipeFeed();
    PipeFeed(const PipeFeed&) = delete;
    PipeFeed& operator=(const PipeFeed&) = delete;

    /// The reading end; the caller closes it.
    [[nodiscard]] int descriptor() const { return mReadingEnd; }

    /// Ends the feed; the reading end delivers no more.
    /// @return whether a whole Ogg stream has passed
    /// @throws Failure  if an error has ended the input
    bool end();

private:
    void stop();
    void feed();
    void feedAll();

    const std::unique_ptr<InputBytes> mInput;
    const Event mStop;
    int mReadingEnd = -1;
    int mWritingEnd = -1;
    OggEnd mOggEnd;             // of the thread while it runs
    std::exception_ptr mError;  // the same
    std::thread mThread;
};

}  // namespace cabinaudio::tool
