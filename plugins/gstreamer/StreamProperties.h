// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <gst/gst.h>

#include <chrono>
#include <string>

namespace cabinaudio::gstreamer {

/// Direction of an element's stream.
enum class Direction { Playback, Capture, Uplink };

/// The properties that all elements with a stream have, at one moment.
struct StreamValues {
    AudioTagType tag = AUDIO_TAG_UNKNOWN;  // never unknown in the result of values()
    int streamParam = 1;                   // for the server
    std::string name;                      // empty: the stream's name is made up
    std::string instance;                  // of the server; empty: that of the environment
    std::chrono::milliseconds wait{0};     // for a server
};

/// Stores the properties "tag", "stream-param", "stream-name", "instance" and "wait" of one
/// element. Any thread; the element's object lock guards the values and must not be held.
class StreamProperties {
public:
    /// Numbers of the properties. Those of an element's own properties begin with END.
    enum Id : guint { TAG = 1, STREAM_PARAM, STREAM_NAME, INSTANCE, WAIT, END };

    explicit StreamProperties(Direction direction) : mDirection(direction) {}

    /// Adds the properties to the class of an element.
    static void install(GObjectClass* elementClass, Direction direction);

    /// Refuses changes from PAUSED on, with a warning on the bus.
    /// @return whether the property is one of these
    bool set(GstElement* element, guint id, const GValue* value);
    bool get(GstElement* element, guint id, GValue* value) const;

    /// With the tag and the name to be used: those of the program, the element's own name if the
    /// program gave it one, or the usual.
    [[nodiscard]] StreamValues values(GstElement* element) const;

private:
    const Direction mDirection;
    StreamValues mValues;  // as set
};

/// Prepares the process for the library and looks for the server, as long as the values say.
/// @return whether there is one; otherwise an error of the element is on the bus
[[nodiscard]] bool findServer(GstElement* element, const StreamValues& values);

/// Posts the error of an element whose stream cannot be created.
/// @param error  as plugin::openStream() returns it, or -EAGAIN when there is no thread for it
void postOpenError(GstElement* element, Direction direction, const StreamValues& values, int error);

/// Posts the error of an element whose stream is gone: RESOURCE, WRITE or READ.
void postLoss(GstElement* element, Direction direction);

}  // namespace cabinaudio::gstreamer
