// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/plugins/gstreamer/Pipeline.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A buffer that has reached the end of a pipeline.
struct Arrived {
    std::vector<unsigned char> bytes;
    GstClockTime time = GST_CLOCK_TIME_NONE;
    GstClockTime duration = GST_CLOCK_TIME_NONE;
    bool isDiscontinuous = false;
};

/// A pipeline that begins with an element "source" and ends in a sink of the test. Waits are
/// bounded by a minute.
class Capturing {
public:
    /// @param source  factory and properties of the source
    /// @param more    the elements behind it, each with " ! " in front
    explicit Capturing(const std::string& source, const std::string& more = {});
    Capturing(const Capturing&) = delete;
    Capturing& operator=(const Capturing&) = delete;

    [[nodiscard]] GstElement* pipeline() const { return mPipeline.get(); }
    [[nodiscard]] GstElement* source() const { return mPipeline.element("source"); }
    /// Changes the state and waits until it is reached, with sound or, in PAUSED, without.
    [[nodiscard]] bool become(GstState state) const;
    /// Goes up and down through all states so many times, with sound in some of them.
    /// @return what did not happen, "" for nothing
    [[nodiscard]] std::string changeStates(int rounds);

    /// Waits until that much sound has arrived since the last forget(). @return whether it has
    [[nodiscard]] bool waitForBytes(std::size_t count);
    [[nodiscard]] bool waitForBuffers(std::size_t count);
    /// Waits for the end of the stream at the sink. @return whether it came
    [[nodiscard]] bool waitForEnd();

    /// All that has arrived.
    [[nodiscard]] std::vector<Arrived> buffers();
    [[nodiscard]] std::vector<unsigned char> bytes();
    [[nodiscard]] std::vector<std::int16_t> samples();
    void forget();

    /// Waits for an error and removes it from the bus. @return as resourceError(), "" for none
    [[nodiscard]] std::string waitForError(
        std::chrono::milliseconds bound = std::chrono::minutes(1)) const;

private:
    static void handOff(GstElement* sink, GstBuffer* buffer, GstPad* pad, Capturing* self);
    static GstPadProbeReturn seeEvent(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    template <typename Condition>
    bool waitFor(Condition condition);

    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<Arrived> mBuffers;
    bool mHasEnded = false;

    const Pipeline mPipeline;  // its threads use the others
};

/// An error as errorOf() writes it.
[[nodiscard]] std::string resourceError(GstResourceError code);

/// Expects that a pipeline whose server has just ended posts one error and ends its sound, and can
/// be stopped.
void expectOneLoss(Capturing& capturing);

}  // namespace cabinaudio::test
