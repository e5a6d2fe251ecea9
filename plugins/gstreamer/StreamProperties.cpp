// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/StreamProperties.h"

#include "plugins/common/LinkSetup.h"
#include "plugins/common/Surroundings.h"
#include "plugins/gstreamer/Log.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string_view>

namespace cabinaudio::gstreamer {

namespace {

constexpr guint LONGEST_WAIT_MS = 600'000;
constexpr auto FLAGS =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_READY);

constexpr GEnumValue PLAYBACK_TAGS[] = {
    {AUDIO_TAG_UNKNOWN, "Auxiliary on a board, otherwise alternative", "default"},
    {AUDIO_TAG_MAIN, "Source that the server routes", "main"},
    {AUDIO_TAG_ALTERNATIVE, "Alternative output", "alternative"},
    {AUDIO_TAG_AUXILIARY, "Auxiliary output", "auxiliary"},
    {AUDIO_TAG_OUTPUT_INVOCATION, "Output of an invocation", "output_input0_invocation"},
    {0, nullptr, nullptr}};

constexpr GEnumValue CAPTURE_TAGS[] = {
    {AUDIO_TAG_UNKNOWN, "Input 0", "default"},
    {AUDIO_TAG_INPUT0, "Input 0", "input0"},
    {AUDIO_TAG_INPUT1, "Input 1", "input1"},
    {AUDIO_TAG_INPUT2, "Input 2", "input2"},
    {AUDIO_TAG_INPUT_FRONT_FEEDBACK, "Sound of the front outputs", "input_front_feedback"},
    {AUDIO_TAG_UPLINK, "Uplink of a call, linear", "uplink"},
    {0, nullptr, nullptr}};

constexpr GEnumValue UPLINK_TAGS[] = {{AUDIO_TAG_UNKNOWN, "Uplink", "default"},
                                      {AUDIO_TAG_UPLINK, "Uplink", "uplink"},
                                      {0, nullptr, nullptr}};

GType tagType(Direction direction) {
    static const GType playback = g_enum_register_static("CabinAudioPlaybackTag", PLAYBACK_TAGS);
    static const GType capture = g_enum_register_static("CabinAudioCaptureTag", CAPTURE_TAGS);
    static const GType uplink = g_enum_register_static("CabinAudioUplinkTag", UPLINK_TAGS);
    switch (direction) {
        case Direction::Playback:
            return playback;
        case Direction::Capture:
            return capture;
        default:
            return uplink;
    }
}

/// Rings in shared memory can be had everywhere.
AudioTagType usualTag(Direction direction) {
    switch (direction) {
        case Direction::Playback:
            return plugin::hasPhysicalMemory() ? AUDIO_TAG_AUXILIARY : AUDIO_TAG_ALTERNATIVE;
        case Direction::Capture:
            return AUDIO_TAG_INPUT0;
        default:
            return AUDIO_TAG_UPLINK;
    }
}

std::string textOf(const GValue* value) {
    const char* const text = g_value_get_string(value);
    return text == nullptr ? std::string() : text;
}

void putText(GValue* value, const std::string& text) {
    g_value_set_string(value, text.empty() ? nullptr : text.c_str());
}

/// Whether GStreamer has made up this name: that of the factory in lower case, and a number.
bool isNumbered(std::string_view name, std::string_view factory) {
    return name.starts_with(factory) &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(factory.size()), name.end(),
                       [](unsigned char letter) { return std::isdigit(letter) != 0; });
}

/// The element's name, if the program gave it one; its object lock is held.
std::string ownName(GstElement* element) {
    GstElementFactory* const factory = gst_element_get_factory(element);
    const char* const name = GST_OBJECT_NAME(element);
    if (factory == nullptr || name == nullptr || isNumbered(name, GST_OBJECT_NAME(factory)))
        return {};
    return name;
}

/// Whether a stream exists or is being created; the object lock is held.
bool isPastReady(GstElement* element) {
    return std::max(GST_STATE(element), GST_STATE_NEXT(element)) > GST_STATE_READY;
}

void postError(GstElement* element, GstResourceError code, const std::string& text) {
    gst_element_message_full(element, GST_MESSAGE_ERROR, GST_RESOURCE_ERROR, code,
                             g_strdup(text.c_str()), nullptr, __FILE__, __func__, __LINE__);
}

void postInstanceError(GstElement* element, const std::string& instance, int error) {
    switch (error) {
        case -EBUSY:
            return postError(
                element, GST_RESOURCE_ERROR_SETTINGS,
                "This process uses another audio server than \"" + instance + "\" already.");
        case -ENOTSUP:
            return postError(element, GST_RESOURCE_ERROR_SETTINGS,
                             "Without the board's stand-in there is no audio server \"" + instance +
                                 "\": start the program with cabinaudio-run.");
        default:
            return postError(element, GST_RESOURCE_ERROR_SETTINGS,
                             "\"" + instance + "\" is no name of an audio server instance.");
    }
}

}  // namespace

// ---- Properties ---------------------------------------------------------------------------------

void StreamProperties::install(GObjectClass* elementClass, Direction direction) {
    const auto add = [elementClass](Id id, GParamSpec* property) {
        g_object_class_install_property(elementClass, id, property);
    };
    add(TAG, g_param_spec_enum("tag", "Tag", "Purpose of the stream", tagType(direction),
                               AUDIO_TAG_UNKNOWN, FLAGS));
    add(STREAM_PARAM,
        g_param_spec_int("stream-param", "Stream parameter", "Parameter of the stream", 0,
                         std::numeric_limits<int>::max(), 1, FLAGS));
    add(STREAM_NAME, g_param_spec_string("stream-name", "Stream name",
                                         "Name of the stream; by default the element's name, if "
                                         "the program gave it one, or else made up",
                                         nullptr, FLAGS));
    add(INSTANCE, g_param_spec_string("instance", "Instance",
                                      "Instance of the server; by default that of the environment",
                                      nullptr, FLAGS));
    add(WAIT, g_param_spec_uint("wait", "Wait",
                                "Time to wait for a server when the element opens (milliseconds)",
                                0, LONGEST_WAIT_MS, 0, FLAGS));
}

bool StreamProperties::set(GstElement* element, guint id, const GValue* value) {
    if (id < TAG || id >= END) return false;
    GST_OBJECT_LOCK(element);
    const bool isLate = isPastReady(element);
    if (!isLate) {
        switch (id) {
            case TAG:
                mValues.tag = static_cast<AudioTagType>(g_value_get_enum(value));
                break;
            case STREAM_PARAM:
                mValues.streamParam = g_value_get_int(value);
                break;
            case STREAM_NAME:
                mValues.name = textOf(value);
                break;
            case INSTANCE:
                mValues.instance = textOf(value);
                break;
            default:
                mValues.wait = std::chrono::milliseconds(g_value_get_uint(value));
        }
    }
    GST_OBJECT_UNLOCK(element);
    if (isLate)
        GST_ELEMENT_WARNING(element, RESOURCE, SETTINGS,
                            ("Properties of the stream can be changed up to READY only."),
                            (nullptr));
    return true;
}

bool StreamProperties::get(GstElement* element, guint id, GValue* value) const {
    GST_OBJECT_LOCK(element);
    const StreamValues values = mValues;
    GST_OBJECT_UNLOCK(element);
    switch (id) {
        case TAG:
            g_value_set_enum(value, static_cast<gint>(values.tag));
            return true;
        case STREAM_PARAM:
            g_value_set_int(value, values.streamParam);
            return true;
        case STREAM_NAME:
            putText(value, values.name);
            return true;
        case INSTANCE:
            putText(value, values.instance);
            return true;
        case WAIT:
            g_value_set_uint(value, static_cast<guint>(values.wait.count()));
            return true;
        default:
            return false;
    }
}

StreamValues StreamProperties::values(GstElement* element) const {
    GST_OBJECT_LOCK(element);
    StreamValues values = mValues;
    if (values.name.empty()) values.name = ownName(element);
    GST_OBJECT_UNLOCK(element);
    if (values.tag == AUDIO_TAG_UNKNOWN) values.tag = usualTag(mDirection);
    return values;
}

// ---- The server ---------------------------------------------------------------------------------

bool findServer(GstElement* element, const StreamValues& values) {
    if (plugin::isServer()) {
        postError(element, GST_RESOURCE_ERROR_BUSY, "The audio server cannot be its own client.");
        return false;
    }
    if (!values.instance.empty()) {
        if (const int error = plugin::useInstance(values.instance); error != 0) {
            postInstanceError(element, values.instance, error);
            return false;
        }
    }
    plugin::prepareLibrary();
    if (plugin::serverAnswers(values.wait)) {
        GST_DEBUG_OBJECT(element, "the audio server answers");
        return true;
    }
    postError(element, GST_RESOURCE_ERROR_NOT_FOUND, "No audio server answers.");
    return false;
}

void postOpenError(GstElement* element, Direction direction, const StreamValues& values,
                   int error) {
    const std::string tag = AudioTypes::getTag(values.tag);
    switch (error) {
        case -ENODEV:
            return postError(element, GST_RESOURCE_ERROR_NOT_FOUND, "No audio server answers.");
        case -EBUSY:
            return postError(element, GST_RESOURCE_ERROR_BUSY,
                             "The audio server refuses the stream (tag " + tag + ").");
        case -EACCES:
            return postError(element,
                             direction == Direction::Playback ? GST_RESOURCE_ERROR_OPEN_WRITE
                                                              : GST_RESOURCE_ERROR_OPEN_READ,
                             "The memory of the sound is not accessible (tag " + tag +
                                 "): the audio server is of another user, or this is no board.");
        default:
            return postError(element, GST_RESOURCE_ERROR_FAILED,
                             std::string("The stream cannot be created: ") + std::strerror(-error));
    }
}

void postLoss(GstElement* element, Direction direction) {
    postError(element,
              direction == Direction::Playback ? GST_RESOURCE_ERROR_WRITE : GST_RESOURCE_ERROR_READ,
              "The audio server has gone, or has removed the stream.");
}

}  // namespace cabinaudio::gstreamer
