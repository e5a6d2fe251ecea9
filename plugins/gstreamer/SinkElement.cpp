// SPDX-License-Identifier: Apache-2.0
// cabinaudiosink as GStreamer sees it: class, pads, properties.
#include "plugins/gstreamer/Elements.h"
#include "plugins/gstreamer/Log.h"
#include "plugins/gstreamer/Rank.h"
#include "plugins/gstreamer/Sink.h"
#include "plugins/gstreamer/SinkRing.h"
#include "plugins/gstreamer/StreamFormats.h"

#include <gst/audio/gstaudioclock.h>
#include <gst/audio/streamvolume.h>

namespace cabinaudio::gstreamer {

namespace {

constexpr double HIGHEST_VOLUME = 10;

enum Property : guint { VOLUME = StreamProperties::END, MUTE };

// An element without a name is named after the type.
struct CabinaudioSink {
    GstAudioBaseSink parent;
    Sink* sink;
};

struct CabinaudioSinkClass {
    GstAudioBaseSinkClass parent;
};

G_DEFINE_TYPE_WITH_CODE(CabinaudioSink, cabinaudio_sink, GST_TYPE_AUDIO_BASE_SINK,
                        G_IMPLEMENT_INTERFACE(GST_TYPE_STREAM_VOLUME, nullptr))

Sink& of(gpointer element) {
    return *static_cast<CabinaudioSink*>(element)->sink;
}

GstClockTime getTime(GstClock* /*clock*/, gpointer element) {
    return of(element).time();
}

void replaceClock(CabinaudioSink* element) {
    GstAudioBaseSink& base = element->parent;
    if (base.provided_clock != nullptr) gst_object_unref(base.provided_clock);
    base.provided_clock = gst_audio_clock_new("CabinAudioSinkClock", getTime, element, nullptr);
}

void cabinaudio_sink_init(CabinaudioSink* element) {
    element->sink = new Sink(&element->parent);
    replaceClock(element);
}

void finalize(GObject* object) {
    delete reinterpret_cast<CabinaudioSink*>(object)->sink;
    G_OBJECT_CLASS(cabinaudio_sink_parent_class)->finalize(object);
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
    Sink& sink = of(object);
    if (sink.properties.set(GST_ELEMENT_CAST(object), id, value)) return;
    if (id == VOLUME)
        sink.volume.setVolume(g_value_get_double(value));
    else if (id == MUTE)
        sink.volume.setMute(g_value_get_boolean(value) != FALSE);
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
    Sink& sink = of(object);
    if (sink.properties.get(GST_ELEMENT_CAST(object), id, value)) return;
    if (id == VOLUME)
        g_value_set_double(value, sink.volume.volume());
    else if (id == MUTE)
        g_value_set_boolean(value, sink.volume.isMute() ? TRUE : FALSE);
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
}

GstAudioRingBuffer* createRing(GstAudioBaseSink* element) {
    return newSinkRing(of(element));
}

GstFlowReturn render(GstBaseSink* base, GstBuffer* buffer) {
    Sink& sink = of(base);
    if (sink.isLost()) return GST_FLOW_ERROR;
    sink.noteBuffer(buffer);
    const GstFlowReturn flow =
        GST_BASE_SINK_CLASS(cabinaudio_sink_parent_class)->render(base, buffer);
    return sink.isLost() ? GST_FLOW_ERROR : flow;
}

GstFlowReturn waitEvent(GstBaseSink* base, GstEvent* event) {
    Sink& sink = of(base);
    const bool isEnd = GST_EVENT_TYPE(event) == GST_EVENT_EOS;
    if (isEnd) sink.end();
    const GstFlowReturn flow =
        GST_BASE_SINK_CLASS(cabinaudio_sink_parent_class)->wait_event(base, event);
    return isEnd && flow == GST_FLOW_OK ? sink.drain() : flow;
}

/// The stream of another format is another stream: the sound before it is played to its end.
gboolean setCaps(GstBaseSink* base, GstCaps* caps) {
    const GstAudioRingBuffer* const ring = GST_AUDIO_BASE_SINK(base)->ringbuffer;
    Sink& sink = of(base);
    if (ring != nullptr && sink.isPlaying() && gst_caps_is_equal(ring->spec.caps, caps) == FALSE) {
        sink.end();
        if (sink.drain() != GST_FLOW_OK) return FALSE;
    }
    return GST_BASE_SINK_CLASS(cabinaudio_sink_parent_class)->set_caps(base, caps);
}

/// The base class posts these messages only for a clock that it made itself.
GstStateChangeReturn changeState(GstElement* element, GstStateChange change) {
    GstClock* const clock = GST_AUDIO_BASE_SINK(element)->provided_clock;
    if (change == GST_STATE_CHANGE_READY_TO_PAUSED)
        gst_element_post_message(
            element, gst_message_new_clock_provide(GST_OBJECT_CAST(element), clock, TRUE));
    if (change == GST_STATE_CHANGE_PAUSED_TO_READY)
        gst_element_post_message(element,
                                 gst_message_new_clock_lost(GST_OBJECT_CAST(element), clock));
    return GST_ELEMENT_CLASS(cabinaudio_sink_parent_class)->change_state(element, change);
}

void installProperties(GObjectClass* objectClass) {
    StreamProperties::install(objectClass, Direction::Playback);
    constexpr auto FLAGS = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
    g_object_class_install_property(
        objectClass, VOLUME,
        g_param_spec_double("volume", "Volume", "Factor of the amplitude, applied by the server", 0,
                            HIGHEST_VOLUME, 1, FLAGS));
    g_object_class_install_property(
        objectClass, MUTE,
        g_param_spec_boolean("mute", "Mute", "Silence; the volume is kept", FALSE, FLAGS));
}

void cabinaudio_sink_class_init(CabinaudioSinkClass* elementClass) {
    GObjectClass* const objectClass = G_OBJECT_CLASS(elementClass);
    objectClass->finalize = finalize;
    objectClass->set_property = setProperty;
    objectClass->get_property = getProperty;
    installProperties(objectClass);

    GstElementClass* const base = GST_ELEMENT_CLASS(elementClass);
    base->change_state = changeState;
    gst_element_class_set_static_metadata(base, "Audio sink (cabin audio server)", "Sink/Audio",
                                          "Plays through the cabin audio server", "cabinaudio");
    addPadTemplate(base, GST_PAD_SINK, streamCaps());

    GstBaseSinkClass* const sinkClass = GST_BASE_SINK_CLASS(elementClass);
    sinkClass->render = render;
    sinkClass->wait_event = waitEvent;
    sinkClass->set_caps = setCaps;
    GST_AUDIO_BASE_SINK_CLASS(elementClass)->create_ringbuffer = createRing;
}

}  // namespace

bool registerSink(GstPlugin* plugin) {
    return gst_element_register(plugin, "cabinaudiosink", RANK, cabinaudio_sink_get_type()) !=
           FALSE;
}

}  // namespace cabinaudio::gstreamer
