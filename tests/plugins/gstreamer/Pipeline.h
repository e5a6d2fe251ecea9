// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gst/gst.h>

#include <chrono>
#include <memory>
#include <string>

namespace cabinaudio::test {

/// Initializes GStreamer with no plug-ins but the system's and the one under test, and a registry
/// of the test's own. Any number of calls.
void initGStreamer();

/// Whether a pipeline may have an element of this factory.
[[nodiscard]] bool hasElement(const std::string& factory);

struct MessageDeleter {
    void operator()(GstMessage* message) const { gst_message_unref(message); }
};
using Message = std::unique_ptr<GstMessage, MessageDeleter>;

/// Domain and code of an error or warning, as "gst-resource-error-quark 3".
std::string errorOf(const Message& message);

/// A pipeline as gst-launch-1.0 makes it, ended by the destructor.
class Pipeline {
public:
    /// @throws std::runtime_error when the description is wrong
    explicit Pipeline(const std::string& description);
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    [[nodiscard]] GstElement* get() const { return mPipeline; }
    /// The element of this name; it lives as long as the pipeline.
    [[nodiscard]] GstElement* element(const std::string& name = "sink") const;

    /// Changes the state and waits until it is reached. @return whether it was
    bool become(GstState state, std::chrono::milliseconds bound = std::chrono::seconds(20)) const;
    /// Waits for a message of these types. @return null when none came
    [[nodiscard]] Message wait(GstMessageType types,
                               std::chrono::milliseconds bound = std::chrono::seconds(20)) const;
    /// Waits for the end of the stream. @return false when an error came first, or nothing
    [[nodiscard]] bool ends() const;
    /// Plays to the end of the stream.
    [[nodiscard]] bool play() const { return become(GST_STATE_PLAYING) && ends(); }

    /// Seeks exactly, and discards what is queued.
    [[nodiscard]] bool seek(GstClockTime time) const;
    /// Waits until the stream has reached this position.
    [[nodiscard]] bool reaches(GstClockTime time) const;
    [[nodiscard]] GstClockTime position() const;

private:
    GstElement* mPipeline = nullptr;
};

}  // namespace cabinaudio::test
