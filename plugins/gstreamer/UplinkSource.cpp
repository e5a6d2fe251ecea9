// SPDX-License-Identifier: Apache-2.0
//
// cabinaudiouplinksrc: the uplink of a call as the server codes it.
#include "plugins/gstreamer/Elements.h"
#include "plugins/gstreamer/Log.h"
#include "plugins/gstreamer/StreamFormats.h"
#include "plugins/gstreamer/StreamHolder.h"
#include "plugins/gstreamer/StreamProperties.h"
#include "plugins/gstreamer/UplinkSourceFrames.h"
#include "plugins/gstreamer/UplinkSourceStream.h"
#include "plugins/gstreamer/UplinkSourceTiming.h"

#include <gst/base/gstpushsrc.h>

#include <limits>
#include <memory>
#include <utility>

namespace cabinaudio::gstreamer {

namespace {

constexpr char NAME[] = "cabinaudiouplinksrc";
constexpr int USUAL_RATE = 16000;
constexpr int USUAL_CHANNELS = 1;
constexpr guint64 PERIOD = 16 * GST_MSECOND;
constexpr guint64 TURN = UplinkSourceStream::TURN.count() * GST_MSECOND;
constexpr gint AAC_SAMPLES = 1024;

enum PropertyId : guint { CODEC = StreamProperties::END, CODEC_PARAM };

/// The library takes no live mSBC.
constexpr GEnumValue CODECS[] = {{static_cast<gint>(UplinkCodec::Opus), "Opus packets", "opus"},
                                 {static_cast<gint>(UplinkCodec::Aac), "AAC frames in LOAS", "aac"},
                                 {static_cast<gint>(UplinkCodec::Pcm), "Linear sound", "pcm"},
                                 {0, nullptr, nullptr}};

constexpr char OPUS_CAPS[] =
    "audio/x-opus,rate=(int){8000,16000,24000,48000},channels=(int)[1,2],"
    "channel-mapping-family=(int)0";
constexpr char AAC_CAPS[] =
    "audio/mpeg,mpegversion=(int)4,stream-format=(string)loas,framed=(boolean)true,"
    "rate=(int)[8000,96000],channels=(int)[1,2]";
constexpr char PCM_CAPS[] =
    "audio/x-raw,format=(string){S16LE,S32LE,U8},layout=(string)interleaved,"
    "rate=(int)[8000,192000],channels=(int)1;"
    "audio/x-raw,format=(string){S16LE,S32LE,U8},layout=(string)interleaved,"
    "rate=(int)[8000,192000],channels=(int)2,channel-mask=(bitmask)0x3";

/// The C++ part of an element.
class UplinkParts : public StreamHolder<UplinkSourceStream> {
public:
    /// A new stream is interrupted while the element is.
    /// @return the stream before, which ends without the lock
    std::shared_ptr<UplinkSourceStream> exchange(std::shared_ptr<UplinkSourceStream> stream) {
        const plugin::Lock lock(mLock);
        if (stream != nullptr && mIsInterrupted) stream->interrupt();
        return std::exchange(mStream, std::move(stream));
    }
    void interrupt(bool isOn) {
        const plugin::Lock lock(mLock);
        mIsInterrupted = isOn;
        if (mStream != nullptr) isOn ? mStream->interrupt() : mStream->allow();
    }

    // Has its own synchronization.
    StreamProperties properties{Direction::Uplink};

    // Of the streaming thread.
    UplinkSourceTiming timing;
    LoasDuration loas{USUAL_RATE};

    // Guarded by the element's object lock.
    UplinkCodec codec = UplinkCodec::Opus;
    gint codecParam = 0;
    guint64 pcmBytesPerSecond = 0;
    guint64 latency = 0;  // ns

private:
    bool mIsInterrupted CABINAUDIO_GUARDED_BY(mLock) = false;
};

struct UplinkSource {
    GstPushSrc parent;
    UplinkParts* parts;
};

UplinkParts& partsOf(gpointer source) {
    return *static_cast<UplinkSource*>(source)->parts;
}

/// Reads or changes what the object lock guards.
template <typename Access>
auto locked(gpointer source, Access access) {
    GST_OBJECT_LOCK(source);
    auto result = access(partsOf(source));
    GST_OBJECT_UNLOCK(source);
    return result;
}

UplinkCodec codecOf(gpointer source) {
    return locked(source, [](UplinkParts& parts) { return parts.codec; });
}

GType codecType() {
    static const GType type = g_enum_register_static("CabinAudioUplinkCodec", CODECS);
    return type;
}

// ---- Properties ---------------------------------------------------------------------------------

bool isOpen(GstElement* element) {
    GST_OBJECT_LOCK(element);
    const bool isOpen = GST_STATE(element) > GST_STATE_READY;
    GST_OBJECT_UNLOCK(element);
    return isOpen;
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
    auto* const element = reinterpret_cast<GstElement*>(object);
    UplinkParts& parts = partsOf(object);
    if (parts.properties.set(element, id, value)) return;
    if (id != CODEC && id != CODEC_PARAM) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
        return;
    }
    if (isOpen(element)) {
        GST_ELEMENT_WARNING(element, RESOURCE, SETTINGS,
                            ("Properties of the stream can be changed up to READY only."),
                            (nullptr));
        return;
    }
    GST_OBJECT_LOCK(object);
    if (id == CODEC)
        parts.codec = static_cast<UplinkCodec>(g_value_get_enum(value));
    else
        parts.codecParam = g_value_get_int(value);
    GST_OBJECT_UNLOCK(object);
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
    const UplinkParts& parts = partsOf(object);
    switch (id) {
        case CODEC:
            g_value_set_enum(value, static_cast<gint>(codecOf(object)));
            break;
        case CODEC_PARAM:
            g_value_set_int(value, locked(object, [](UplinkParts& it) { return it.codecParam; }));
            break;
        default:
            if (!parts.properties.get(reinterpret_cast<GstElement*>(object), id, value))
                G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

// ---- Formats ------------------------------------------------------------------------------------

const char* capsOf(UplinkCodec codec) {
    switch (codec) {
        case UplinkCodec::Opus:
            return OPUS_CAPS;
        case UplinkCodec::Aac:
            return AAC_CAPS;
        default:
            return PCM_CAPS;
    }
}

GstCaps* getCaps(GstBaseSrc* source, GstCaps* filter) {
    GstCaps* const caps = gst_caps_from_string(capsOf(codecOf(source)));
    if (filter == nullptr) return caps;
    GstCaps* const both = gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST);
    gst_caps_unref(caps);
    return both;
}

/// Containers need the headers that a file of Opus begins with.
void addOpusHeaders(GstStructure* structure) {
    gint rate = USUAL_RATE;
    gint channels = USUAL_CHANNELS;
    gst_structure_get_int(structure, "rate", &rate);
    gst_structure_get_int(structure, "channels", &channels);
    GValue list = G_VALUE_INIT;
    gst_value_array_init(&list, 2);
    for (const auto& header :
         opusHeaders(static_cast<unsigned>(rate), static_cast<unsigned>(channels))) {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, GST_TYPE_BUFFER);
        GstBuffer* const buffer = gst_buffer_new_memdup(header.data(), header.size());
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_HEADER);
        gst_value_take_buffer(&value, buffer);
        gst_value_array_append_and_take_value(&list, &value);
    }
    gst_structure_take_value(structure, "streamheader", &list);
}

/// A call has one channel, of wide-band quality if nothing else is asked for.
GstCaps* fixate(GstBaseSrc* source, GstCaps* caps) {
    GstCaps* const first = gst_caps_truncate(gst_caps_make_writable(caps));
    GstStructure* const structure = gst_caps_get_structure(first, 0);
    gst_structure_fixate_field_nearest_int(structure, "rate", USUAL_RATE);
    gst_structure_fixate_field_nearest_int(structure, "channels", USUAL_CHANNELS);
    if (gst_structure_has_name(structure, "audio/x-opus")) addOpusHeaders(structure);
    auto* const parent = GST_BASE_SRC_CLASS(g_type_class_peek(GST_TYPE_PUSH_SRC));
    return parent->fixate(source, first);
}

/// Duration of a frame as far as it is known before the first.
guint64 usualDuration(UplinkCodec codec, gint rate) {
    switch (codec) {
        case UplinkCodec::Opus:
            return 20 * GST_MSECOND;
        case UplinkCodec::Aac:
            return gst_util_uint64_scale_int(GST_SECOND, AAC_SAMPLES, rate);
        default:
            return PERIOD;
    }
}

/// The format of a stream. @param info  filled for linear sound
AudioFormatDesc formatOf(UplinkSource* source, GstCaps* caps, GstAudioInfo& info) {
    const UplinkCodec codec = codecOf(source);
    gint rate = USUAL_RATE;
    gint channels = USUAL_CHANNELS;
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    gst_structure_get_int(structure, "rate", &rate);
    gst_structure_get_int(structure, "channels", &channels);
    if (codec != UplinkCodec::Pcm || gst_audio_info_from_caps(&info, caps) == FALSE)
        gst_audio_info_set_format(&info, GST_AUDIO_FORMAT_S16LE, rate, channels, nullptr);
    AudioFormatDesc format = streamFormat(info);
    format.codecType = static_cast<std::uint32_t>(codec);
    format.codecParam = static_cast<std::uint32_t>(
        locked(source, [](UplinkParts& parts) { return parts.codecParam; }));
    return format;
}

gboolean setCaps(GstBaseSrc* source, GstCaps* caps) {
    auto* const self = reinterpret_cast<UplinkSource*>(source);
    auto* const element = reinterpret_cast<GstElement*>(source);
    UplinkParts& parts = partsOf(source);
    GstAudioInfo info;
    gst_audio_info_init(&info);
    const AudioFormatDesc format = formatOf(self, caps, info);
    parts.exchange(nullptr);
    const StreamValues values = parts.properties.values(element);
    std::shared_ptr<UplinkSourceStream> stream;
    if (const int error = UplinkSourceStream::open(values.name, format, stream); error != 0) {
        postOpenError(element, Direction::Uplink, values, error);
        return FALSE;
    }
    const gint rate = GST_AUDIO_INFO_RATE(&info);
    parts.loas = LoasDuration(static_cast<unsigned>(rate));
    locked(source, [&](UplinkParts& it) {
        it.pcmBytesPerSecond =
            static_cast<guint64>(rate) * static_cast<guint64>(GST_AUDIO_INFO_BPF(&info));
        it.latency = usualDuration(it.codec, rate) + PERIOD + TURN;
        return true;
    });
    parts.exchange(std::move(stream));
    GST_DEBUG_OBJECT(source, "takes %" GST_PTR_FORMAT, static_cast<void*>(caps));
    gst_element_post_message(element, gst_message_new_latency(GST_OBJECT(source)));
    return TRUE;
}

// ---- Frames -------------------------------------------------------------------------------------

guint64 durationOf(GstPushSrc* source, std::span<const unsigned char> frame) {
    UplinkParts& parts = partsOf(source);
    switch (codecOf(source)) {
        case UplinkCodec::Opus:
            return opusDuration(frame);
        case UplinkCodec::Aac:
            return parts.loas.of(frame);
        default:
            return gst_util_uint64_scale(
                frame.size(), GST_SECOND,
                locked(source, [](UplinkParts& it) { return it.pcmBytesPerSecond; }));
    }
}

GstBuffer* bufferOf(GstPushSrc* source, UplinkSourceStream& stream) {
    UplinkSourceTiming& timing = partsOf(source).timing;
    if (stream.checkRestart()) timing.restart();
    const std::span<const unsigned char> frame = stream.frame();
    GstBuffer* const buffer = gst_buffer_new_memdup(frame.data(), frame.size());
    GST_BUFFER_DURATION(buffer) = durationOf(source, frame);
    const guint64 now = gst_element_get_current_running_time(reinterpret_cast<GstElement*>(source));
    if (!GST_CLOCK_TIME_IS_VALID(now)) return buffer;
    const auto stamp = timing.next(now, GST_BUFFER_DURATION(buffer));
    GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = stamp.time;
    if (stamp.isDiscontinuous) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    return buffer;
}

/// The sound ends with a loss, so that files are completed.
GstFlowReturn create(GstPushSrc* source, GstBuffer** buffer) {
    const std::shared_ptr<UplinkSourceStream> stream = partsOf(source).stream();
    if (stream == nullptr) return GST_FLOW_NOT_NEGOTIATED;
    switch (stream->read()) {
        case UplinkSourceStream::Outcome::Read:
            *buffer = bufferOf(source, *stream);
            return GST_FLOW_OK;
        case UplinkSourceStream::Outcome::Interrupted:
            return GST_FLOW_FLUSHING;
        default:
            postLoss(reinterpret_cast<GstElement*>(source), Direction::Uplink);
            return GST_FLOW_EOS;
    }
}

gboolean unlock(GstBaseSrc* source) {
    partsOf(source).interrupt(true);
    return TRUE;
}

gboolean unlockStop(GstBaseSrc* source) {
    partsOf(source).interrupt(false);
    return TRUE;
}

/// The next run has a time of its own.
gboolean stop(GstBaseSrc* source) {
    partsOf(source).exchange(nullptr);
    partsOf(source).timing = {};
    return TRUE;
}

gboolean query(GstBaseSrc* source, GstQuery* query) {
    if (GST_QUERY_TYPE(query) != GST_QUERY_LATENCY)
        return GST_BASE_SRC_CLASS(g_type_class_peek(GST_TYPE_PUSH_SRC))->query(source, query);
    const guint64 latency = locked(source, [](UplinkParts& parts) { return parts.latency; });
    if (latency == 0) return FALSE;
    gst_query_set_latency(query, TRUE, latency, GST_CLOCK_TIME_NONE);
    return TRUE;
}

// ---- The element --------------------------------------------------------------------------------

/// The child of a fork() would wait for threads that it does not have.
GstStateChangeReturn changeState(GstElement* element, GstStateChange transition) {
    if (!partsOf(element).owner.isThisProcess()) return GST_STATE_CHANGE_FAILURE;
    UplinkParts& parts = partsOf(element);
    if (transition == GST_STATE_CHANGE_NULL_TO_READY &&
        !findServer(element, parts.properties.values(element)))
        return GST_STATE_CHANGE_FAILURE;
    auto* const parent = GST_ELEMENT_CLASS(g_type_class_peek(GST_TYPE_PUSH_SRC));
    const GstStateChangeReturn result = parent->change_state(element, transition);
    const std::shared_ptr<UplinkSourceStream> stream = parts.stream();
    if (stream != nullptr && transition == GST_STATE_CHANGE_PLAYING_TO_PAUSED) stream->stop();
    return result;
}

void finalize(GObject* object) {
    if (partsOf(object).owner.isThisProcess()) delete &partsOf(object);
    G_OBJECT_CLASS(g_type_class_peek(GST_TYPE_PUSH_SRC))->finalize(object);
}

void initInstance(GTypeInstance* instance, gpointer /*instanceClass*/) {
    reinterpret_cast<UplinkSource*>(instance)->parts = new UplinkParts;
    auto* const source = reinterpret_cast<GstBaseSrc*>(instance);
    gst_base_src_set_live(source, TRUE);
    gst_base_src_set_format(source, GST_FORMAT_TIME);
}

void installProperties(GObjectClass* objectClass) {
    constexpr auto FLAGS = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                                    GST_PARAM_MUTABLE_READY);
    StreamProperties::install(objectClass, Direction::Uplink);
    g_object_class_install_property(
        objectClass, CODEC,
        g_param_spec_enum("codec", "Codec", "How the server codes the sound", codecType(),
                          static_cast<gint>(UplinkCodec::Opus), FLAGS));
    g_object_class_install_property(
        objectClass, CODEC_PARAM,
        g_param_spec_int("codec-param", "Codec parameter",
                         "Passed to the server's encoder; the development server takes 6000 to "
                         "510000 as bit rate",
                         0, std::numeric_limits<gint>::max(), 0, FLAGS));
}

void addTemplate(GstElementClass* elementClass) {
    GstCaps* const caps = gst_caps_from_string(OPUS_CAPS);
    gst_caps_append(caps, gst_caps_from_string(AAC_CAPS));
    gst_caps_append(caps, gst_caps_from_string(PCM_CAPS));
    addPadTemplate(elementClass, GST_PAD_SRC, caps);
}

void initClass(gpointer sourceClass, gpointer /*data*/) {
    auto* const objectClass = G_OBJECT_CLASS(sourceClass);
    objectClass->set_property = setProperty;
    objectClass->get_property = getProperty;
    objectClass->finalize = finalize;
    installProperties(objectClass);

    auto* const elementClass = GST_ELEMENT_CLASS(sourceClass);
    elementClass->change_state = changeState;
    gst_element_class_set_static_metadata(elementClass, "Cabin audio uplink source", "Source/Audio",
                                          "Takes the uplink of a call, coded or linear, from the "
                                          "cabin audio server",
                                          "cabinaudio");
    addTemplate(elementClass);

    auto* const baseClass = GST_BASE_SRC_CLASS(sourceClass);
    baseClass->get_caps = getCaps;
    baseClass->fixate = fixate;
    baseClass->set_caps = setCaps;
    baseClass->unlock = unlock;
    baseClass->unlock_stop = unlockStop;
    baseClass->stop = stop;
    baseClass->query = query;
    GST_PUSH_SRC_CLASS(sourceClass)->create = create;
}

GType registerType() {
    GTypeInfo info = {};
    info.class_size = sizeof(GstPushSrcClass);
    info.class_init = initClass;
    info.instance_size = sizeof(UplinkSource);
    info.instance_init = initInstance;
    return g_type_register_static(GST_TYPE_PUSH_SRC, "CabinAudioUplinkSrc", &info, GTypeFlags{});
}

}  // namespace

/// A program that chooses a source by rank cannot expect coded sound.
bool registerUplinkSource(GstPlugin* plugin) {
    return gst_element_register(plugin, NAME, GST_RANK_NONE, registerType()) != FALSE;
}

}  // namespace cabinaudio::gstreamer
