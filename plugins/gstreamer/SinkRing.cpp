// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/SinkRing.h"

namespace cabinaudio::gstreamer {

namespace {

struct CabinaudioSinkRing {
    GstAudioRingBuffer parent;
    Sink* sink;
};

struct CabinaudioSinkRingClass {
    GstAudioRingBufferClass parent;
};

G_DEFINE_TYPE(CabinaudioSinkRing, cabinaudio_sink_ring, GST_TYPE_AUDIO_RING_BUFFER)

Sink& of(GstAudioRingBuffer* ring) {
    return *reinterpret_cast<CabinaudioSinkRing*>(ring)->sink;
}

void cabinaudio_sink_ring_init(CabinaudioSinkRing* ring) {
    ring->sink = nullptr;
}

void cabinaudio_sink_ring_class_init(CabinaudioSinkRingClass* ringClass) {
    GstAudioRingBufferClass& table = ringClass->parent;
    table.open_device = [](auto* ring) -> gboolean { return of(ring).open() ? TRUE : FALSE; };
    table.close_device = [](auto*) -> gboolean { return TRUE; };
    table.acquire = [](auto* ring, auto* spec) -> gboolean {
        return of(ring).acquire(*spec) ? TRUE : FALSE;
    };
    table.release = [](auto* ring) -> gboolean {
        of(ring).release();
        return TRUE;
    };
    table.start = [](auto* ring) -> gboolean { return of(ring).run() ? TRUE : FALSE; };
    table.resume = table.start;
    table.pause = [](auto* ring) -> gboolean {
        of(ring).pause();
        return TRUE;
    };
    table.stop = [](auto* ring) -> gboolean {
        of(ring).stop();
        return TRUE;
    };
    table.delay = [](auto* ring) { return of(ring).delay(); };
    table.activate = [](auto*, gboolean) -> gboolean { return TRUE; };
    table.clear_all = [](auto* ring) { of(ring).clear(); };
    table.commit = [](auto* ring, auto* sample, auto* data, gint inputs, gint outputs, gint*) {
        return of(ring).commit(ring, *sample, data, inputs, outputs);
    };
}

}  // namespace

GstAudioRingBuffer* newSinkRing(Sink& sink) {
    auto* const ring =
        static_cast<CabinaudioSinkRing*>(g_object_new(cabinaudio_sink_ring_get_type(), nullptr));
    ring->sink = &sink;
    return &ring->parent;
}

}  // namespace cabinaudio::gstreamer
