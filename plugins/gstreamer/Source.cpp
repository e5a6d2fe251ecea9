// SPDX-License-Identifier: Apache-2.0
//
// cabinaudiosrc: an input of the server, or the uplink as linear sound.
#include "plugins/gstreamer/Elements.h"
#include "plugins/gstreamer/Log.h"
#include "plugins/gstreamer/Rank.h"
#include "plugins/gstreamer/SourceStream.h"
#include "plugins/gstreamer/StreamFormats.h"
#include "plugins/gstreamer/StreamHolder.h"
#include "plugins/gstreamer/StreamProperties.h"

#include <gst/audio/gstaudiosrc.h>
#include <gst/audio/streamvolume.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <utility>

namespace cabinaudio::gstreamer {

namespace {

constexpr char NAME[] = "cabinaudiosrc";
constexpr int FULL_PERCENT = 100;
constexpr double MOST_VOLUME = 10.0;
constexpr guint64 US_PER_SECOND = 1'000'000;
constexpr int USUAL_RATE = 48000;  // of the server

enum PropertyId : guint { VOLUME = StreamProperties::END, MUTE };

/// Amplitude that the program wants; until it sets one, the stream's own is left alone.
struct Loudness {
    double volume = 1.0;
    bool isMute = false;
    bool isSet = false;

    [[nodiscard]] int percent() const {
        return isMute ? 0 : static_cast<int>(std::lround(std::min(volume, 1.0) * FULL_PERCENT));
    }
};

/// The C++ part of an element.
class SourceParts : public StreamHolder<SourceStream> {
public:
    [[nodiscard]] Loudness loudness() {
        const plugin::Lock lock(mLock);
        return mLoudness;
    }
    template <typename Change>
    void changeLoudness(Change change) {
        const plugin::Lock lock(mLock);
        change(mLoudness);
        mLoudness.isSet = true;
    }

    // Has its own synchronization.
    StreamProperties properties{Direction::Capture};
    std::atomic<bool> isLost = false;

private:
    Loudness mLoudness CABINAUDIO_GUARDED_BY(mLock);
};

struct Source {
    GstAudioSrc parent;
    SourceParts* parts;
};

SourceParts& partsOf(gpointer source) {
    return *static_cast<Source*>(source)->parts;
}

// ---- Volume -------------------------------------------------------------------------------------

void applyLoudness(GstElement* element) {
    SourceParts& parts = partsOf(element);
    const Loudness loudness = parts.loudness();
    const std::shared_ptr<SourceStream> stream = parts.stream();
    if (stream == nullptr || !loudness.isSet) return;
    if (parts.properties.values(element).tag == AUDIO_TAG_UPLINK)
        GST_WARNING_OBJECT(element, "the uplink has no volume");
    else if (!stream->setVolume(loudness.percent()))
        GST_WARNING_OBJECT(element, "the server has not set the volume");
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
    auto* const element = reinterpret_cast<GstElement*>(object);
    SourceParts& parts = partsOf(object);
    switch (id) {
        case VOLUME:
            parts.changeLoudness([&](Loudness& it) { it.volume = g_value_get_double(value); });
            applyLoudness(element);
            break;
        case MUTE:
            parts.changeLoudness([&](Loudness& it) { it.isMute = g_value_get_boolean(value); });
            applyLoudness(element);
            break;
        default:
            if (!parts.properties.set(element, id, value))
                G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
    SourceParts& parts = partsOf(object);
    switch (id) {
        case VOLUME:
            g_value_set_double(value, parts.loudness().volume);
            break;
        case MUTE:
            g_value_set_boolean(value, parts.loudness().isMute ? TRUE : FALSE);
            break;
        default:
            if (!parts.properties.get(reinterpret_cast<GstElement*>(object), id, value))
                G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

// ---- The device ---------------------------------------------------------------------------------

gboolean open(GstAudioSrc* source) {
    auto* const element = reinterpret_cast<GstElement*>(source);
    return findServer(element, partsOf(source).properties.values(element)) ? TRUE : FALSE;
}

gboolean close(GstAudioSrc* /*source*/) {
    return TRUE;
}

/// Segments are whole periods: the server captures no less at once.
void setSegments(GstAudioRingBufferSpec& spec, std::size_t periodBytes) {
    const guint64 bytesPerSecond = static_cast<guint64>(GST_AUDIO_INFO_RATE(&spec.info)) *
                                   static_cast<guint64>(GST_AUDIO_INFO_BPF(&spec.info));
    const guint64 periodTime = periodBytes * US_PER_SECOND / bytesPerSecond;
    const guint64 periods = std::max<guint64>(spec.latency_time / periodTime, 1);
    spec.latency_time = periods * periodTime;
    const guint64 segments = std::max<guint64>(spec.buffer_time / spec.latency_time, 2);
    spec.buffer_time = segments * spec.latency_time;
    spec.segsize = static_cast<gint>(periods * periodBytes);
    spec.segtotal = static_cast<gint>(segments);
}

/// An error that the element has posted stays the state of the base class's buffer, also in READY.
void forgetErrors(GstAudioRingBuffer* buffer) {
    g_atomic_int_compare_and_exchange(&buffer->state, GST_AUDIO_RING_BUFFER_STATE_ERROR,
                                      GST_AUDIO_RING_BUFFER_STATE_STOPPED);
}

gboolean prepare(GstAudioSrc* source, GstAudioRingBufferSpec* spec) {
    auto* const element = reinterpret_cast<GstElement*>(source);
    GstAudioRingBuffer* const buffer = reinterpret_cast<GstAudioBaseSrc*>(source)->ringbuffer;
    SourceParts& parts = partsOf(source);
    const StreamValues values = parts.properties.values(element);
    plugin::StreamRequest request;
    request.tag = values.tag;
    request.format = streamFormat(spec->info);
    request.param = values.streamParam;
    std::shared_ptr<SourceStream> stream;
    if (const int error = SourceStream::open(values.name, request, stream); error != 0) {
        postOpenError(element, Direction::Capture, values, error);
        return FALSE;
    }
    setSegments(*spec, stream->periodBytes());
    if (isReordered(spec->info))
        gst_audio_ring_buffer_set_channel_positions(buffer, serverPositions(spec->info).data());
    GST_DEBUG_OBJECT(source, "captures %" GST_PTR_FORMAT ", %d segments of %d bytes",
                     static_cast<void*>(spec->caps), spec->segtotal, spec->segsize);
    forgetErrors(buffer);
    parts.isLost = false;
    parts.exchange(std::move(stream));
    applyLoudness(element);
    return TRUE;
}

gboolean unprepare(GstAudioSrc* source) {
    partsOf(source).exchange(nullptr);
    return TRUE;
}

/// A loss is reported once. The thread of the base class comes again until the element is stopped,
/// and waits in the stream for that.
guint read(GstAudioSrc* source, gpointer data, guint length, GstClockTime* /*timestamp*/) {
    SourceParts& parts = partsOf(source);
    const std::shared_ptr<SourceStream> stream = parts.stream();
    if (stream == nullptr) return length;
    const auto outcome = stream->read(static_cast<unsigned char*>(data), length);
    if (outcome == SourceStream::Outcome::Lost) {
        parts.isLost = true;
        postLoss(reinterpret_cast<GstElement*>(source), Direction::Capture);
    }
    return length;
}

guint delay(GstAudioSrc* source) {
    const std::shared_ptr<SourceStream> stream = partsOf(source).stream();
    return stream == nullptr ? 0 : static_cast<guint>(stream->delay());
}

void reset(GstAudioSrc* source) {
    const std::shared_ptr<SourceStream> stream = partsOf(source).stream();
    if (stream != nullptr) stream->stop();
}

// ---- The element --------------------------------------------------------------------------------

GstBaseSrcClass* parentOfBase() {
    return GST_BASE_SRC_CLASS(g_type_class_peek(GST_TYPE_AUDIO_SRC));
}

/// A rate that needs no conversion, unless another one is asked for.
GstCaps* fixate(GstBaseSrc* source, GstCaps* caps) {
    GstCaps* const first = gst_caps_truncate(gst_caps_make_writable(caps));
    gst_structure_fixate_field_nearest_int(gst_caps_get_structure(first, 0), "rate", USUAL_RATE);
    return parentOfBase()->fixate(source, first);
}

/// The sound ends with a loss, so that files are completed.
GstFlowReturn create(GstBaseSrc* source, guint64 offset, guint length, GstBuffer** buffer) {
    const GstFlowReturn result = parentOfBase()->create(source, offset, length, buffer);
    if (result == GST_FLOW_FLUSHING || !partsOf(source).isLost) return result;
    if (result == GST_FLOW_OK) gst_clear_buffer(buffer);
    return GST_FLOW_EOS;
}

/// The child of a fork() would wait for threads that it does not have.
GstStateChangeReturn changeState(GstElement* element, GstStateChange transition) {
    if (!partsOf(element).owner.isThisProcess()) return GST_STATE_CHANGE_FAILURE;
    const std::shared_ptr<SourceStream> stream = partsOf(element).stream();
    // The base class waits for the end of a read without ending it.
    if (stream != nullptr && transition == GST_STATE_CHANGE_PAUSED_TO_READY) stream->close();
    if (stream != nullptr && transition == GST_STATE_CHANGE_PAUSED_TO_PLAYING) stream->resume();
    auto* const parent = GST_ELEMENT_CLASS(g_type_class_peek(GST_TYPE_AUDIO_SRC));
    const GstStateChangeReturn result = parent->change_state(element, transition);
    if (stream != nullptr && transition == GST_STATE_CHANGE_PLAYING_TO_PAUSED) stream->pause();
    return result;
}

void finalize(GObject* object) {
    if (partsOf(object).owner.isThisProcess()) delete &partsOf(object);
    G_OBJECT_CLASS(g_type_class_peek(GST_TYPE_AUDIO_SRC))->finalize(object);
}

void initInstance(GTypeInstance* instance, gpointer /*instanceClass*/) {
    reinterpret_cast<Source*>(instance)->parts = new SourceParts;
}

void installVolume(GObjectClass* objectClass) {
    constexpr auto FLAGS = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                                    GST_PARAM_MUTABLE_PLAYING);
    g_object_class_install_property(
        objectClass, VOLUME,
        g_param_spec_double("volume", "Volume",
                            "Linear volume of the captured sound; above 1.0 it is 1.0", 0.0,
                            MOST_VOLUME, 1.0, FLAGS));
    g_object_class_install_property(
        objectClass, MUTE,
        g_param_spec_boolean("mute", "Mute", "Whether the captured sound is silent", FALSE, FLAGS));
}

void initClass(gpointer sourceClass, gpointer /*data*/) {
    auto* const objectClass = G_OBJECT_CLASS(sourceClass);
    objectClass->set_property = setProperty;
    objectClass->get_property = getProperty;
    objectClass->finalize = finalize;
    StreamProperties::install(objectClass, Direction::Capture);
    installVolume(objectClass);

    auto* const elementClass = GST_ELEMENT_CLASS(sourceClass);
    elementClass->change_state = changeState;
    gst_element_class_set_static_metadata(elementClass, "Cabin audio source", "Source/Audio",
                                          "Captures sound from the cabin audio server",
                                          "cabinaudio");
    addPadTemplate(elementClass, GST_PAD_SRC, streamCaps());

    GST_BASE_SRC_CLASS(sourceClass)->create = create;
    GST_BASE_SRC_CLASS(sourceClass)->fixate = fixate;
    auto* const audioClass = GST_AUDIO_SRC_CLASS(sourceClass);
    audioClass->open = open;
    audioClass->prepare = prepare;
    audioClass->unprepare = unprepare;
    audioClass->close = close;
    audioClass->read = read;
    audioClass->delay = delay;
    audioClass->reset = reset;
}

GType registerType() {
    GTypeInfo info = {};
    info.class_size = sizeof(GstAudioSrcClass);
    info.class_init = initClass;
    info.instance_size = sizeof(Source);
    info.instance_init = initInstance;
    const GType type =
        g_type_register_static(GST_TYPE_AUDIO_SRC, "CabinAudioSrc", &info, GTypeFlags{});
    const GInterfaceInfo volume = {};
    g_type_add_interface_static(type, GST_TYPE_STREAM_VOLUME, &volume);
    return type;
}

}  // namespace

bool registerSource(GstPlugin* plugin) {
    return gst_element_register(plugin, NAME, RANK, registerType()) != FALSE;
}

}  // namespace cabinaudio::gstreamer
