// SPDX-License-Identifier: Apache-2.0
//
// cabinaudiodeviceprovider: the streams that programs can choose, as devices.
#include "plugins/common/LinkSetup.h"
#include "plugins/common/Mutex.h"
#include "plugins/common/Surroundings.h"
#include "plugins/gstreamer/Elements.h"
#include "plugins/gstreamer/Log.h"
#include "plugins/gstreamer/Rank.h"
#include "plugins/gstreamer/StreamFormats.h"

#include <gst/audio/audio.h>

#include <array>
#include <chrono>
#include <memory>
#include <thread>
#include <utility>

namespace cabinaudio::gstreamer {

namespace {

using namespace std::chrono_literals;

constexpr char NAME[] = "cabinaudiodeviceprovider";
constexpr std::chrono::seconds INTERVAL = 2s;  // between two looks for the server

/// A kind of stream.
struct Kind {
    AudioTagType tag;
    const char* nick;  // of the elements' property "tag"
    const char* name;  // for people
    const char* deviceClass;
    const char* element;
};

constexpr std::array<Kind, 8> KINDS = {{
    {AUDIO_TAG_MAIN, "main", "Cabin audio: main", "Audio/Sink", "cabinaudiosink"},
    {AUDIO_TAG_ALTERNATIVE, "alternative", "Cabin audio: alternative", "Audio/Sink",
     "cabinaudiosink"},
    {AUDIO_TAG_AUXILIARY, "auxiliary", "Cabin audio: auxiliary", "Audio/Sink", "cabinaudiosink"},
    {AUDIO_TAG_INPUT0, "input0", "Cabin audio: input 0", "Audio/Source", "cabinaudiosrc"},
    {AUDIO_TAG_INPUT1, "input1", "Cabin audio: input 1", "Audio/Source", "cabinaudiosrc"},
    {AUDIO_TAG_INPUT2, "input2", "Cabin audio: input 2", "Audio/Source", "cabinaudiosrc"},
    {AUDIO_TAG_INPUT_FRONT_FEEDBACK, "input_front_feedback", "Cabin audio: front outputs",
     "Audio/Source", "cabinaudiosrc"},
    {AUDIO_TAG_UPLINK, "uplink", "Cabin audio: uplink", "Audio/Source", "cabinaudiosrc"},
}};

// ---- Devices ------------------------------------------------------------------------------------

struct Device {
    GstDevice parent;
    const Kind* kind;
};

void setTag(GstElement* element, const Kind& kind) {
    gst_util_set_object_arg(G_OBJECT(element), "tag", kind.nick);
}

GstElement* createElement(GstDevice* device, const gchar* name) {
    const Kind& kind = *reinterpret_cast<Device*>(device)->kind;
    GstElement* const element = gst_element_factory_make(kind.element, name);
    if (element != nullptr) setTag(element, kind);
    return element;
}

/// An element that has a stream keeps it: another one needs READY.
gboolean reconfigureElement(GstDevice* device, GstElement* element) {
    const Kind& kind = *reinterpret_cast<Device*>(device)->kind;
    GstElementFactory* const factory = gst_element_get_factory(element);
    if (factory == nullptr || g_strcmp0(GST_OBJECT_NAME(factory), kind.element) != 0) return FALSE;
    GST_OBJECT_LOCK(element);
    const bool isOpen = GST_STATE(element) > GST_STATE_READY;
    GST_OBJECT_UNLOCK(element);
    if (isOpen) return FALSE;
    setTag(element, kind);
    return TRUE;
}

void initDeviceClass(gpointer deviceClass, gpointer /*data*/) {
    GST_DEVICE_CLASS(deviceClass)->create_element = createElement;
    GST_DEVICE_CLASS(deviceClass)->reconfigure_element = reconfigureElement;
}

GType deviceType() {
    static const GType type = [] {
        GTypeInfo info = {};
        info.class_size = sizeof(GstDeviceClass);
        info.class_init = initDeviceClass;
        info.instance_size = sizeof(Device);
        return g_type_register_static(GST_TYPE_DEVICE, "CabinAudioDevice", &info, GTypeFlags{});
    }();
    return type;
}

GstDevice* makeDevice(const Kind& kind) {
    GstCaps* const caps = streamCaps();
    GstStructure* const properties =
        gst_structure_new("cabinaudio-proplist", "device.api", G_TYPE_STRING, "cabinaudio",
                          "cabinaudio.tag", G_TYPE_STRING, kind.nick, nullptr);
    gpointer const object =
        g_object_new(deviceType(), "display-name", kind.name, "device-class", kind.deviceClass,
                     "caps", caps, "properties", properties, nullptr);
    static_cast<Device*>(object)->kind = &kind;
    gst_structure_free(properties);
    gst_caps_unref(caps);
    return static_cast<GstDevice*>(object);
}

/// Whether this process can have streams now, and may: a server is not its own client.
bool hasStreams() {
    if (plugin::isServer()) return false;
    plugin::prepareLibrary();
    return plugin::serverAnswers(0ms);
}

/// The devices of this process while there is a server.
template <typename Receive>
void forEachDevice(Receive receive) {
    for (const Kind& kind : KINDS)
        if (!plugin::needsPhysicalMemory(kind.tag) || plugin::hasPhysicalMemory())
            receive(makeDevice(kind));
}

// ---- The provider -------------------------------------------------------------------------------

/// Looks for the server again and again, and tells the provider. The first look is that of the
/// constructor.
class Watch {
public:
    explicit Watch(GstDeviceProvider* provider) : mProvider(provider) {
        look();
        mThread = std::thread([this] { run(); });
    }
    /// Takes as long as the server needs for an answer that is under way; the link policy bounds
    /// it.
    ~Watch() {
        {
            const plugin::Lock lock(mLock);
            mIsLeaving = true;
            mChanged.notifyAll();
        }
        mThread.join();
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

private:
    void run() {
        while (true) {
            {
                const plugin::Lock lock(mLock);
                const auto end = std::chrono::steady_clock::now() + INTERVAL;
                while (!mIsLeaving && std::chrono::steady_clock::now() < end)
                    mChanged.waitFor(mLock, INTERVAL);
                if (mIsLeaving) return;
            }
            look();
        }
    }

    void look() {
        const bool hasDevices = hasStreams();
        if (hasDevices == mHasDevices) return;
        GST_DEBUG_OBJECT(mProvider, "the audio server has %s", hasDevices ? "come" : "gone");
        mHasDevices = hasDevices;
        hasDevices ? add() : remove();
    }

    void add() {
        forEachDevice(
            [this](GstDevice* device) { gst_device_provider_device_add(mProvider, device); });
    }

    void remove() {
        GST_OBJECT_LOCK(mProvider);
        GList* const devices = g_list_copy_deep(
            mProvider->devices,
            [](gconstpointer device, gpointer) {
                return gst_object_ref(const_cast<gpointer>(device));
            },
            nullptr);
        GST_OBJECT_UNLOCK(mProvider);
        for (GList* item = devices; item != nullptr; item = item->next)
            gst_device_provider_device_remove(mProvider, static_cast<GstDevice*>(item->data));
        g_list_free_full(devices, gst_object_unref);
    }

    // Set at construction.
    GstDeviceProvider* const mProvider;
    std::thread mThread;

    // Of the constructor, then of the thread.
    bool mHasDevices = false;

    // Have their own synchronization.
    plugin::Mutex mLock;
    plugin::Condition mChanged;

    // Guarded by mLock.
    bool mIsLeaving CABINAUDIO_GUARDED_BY(mLock) = false;
};

struct Provider {
    GstDeviceProvider parent;
    Watch* watch;
};

GList* probe(GstDeviceProvider* /*provider*/) {
    GList* devices = nullptr;
    if (hasStreams())
        forEachDevice([&](GstDevice* device) {
            devices = g_list_append(devices, gst_object_ref_sink(device));
        });
    return devices;
}

/// GStreamer calls start() and stop() one at a time.
gboolean start(GstDeviceProvider* provider) {
    reinterpret_cast<Provider*>(provider)->watch = new Watch(provider);
    return TRUE;
}

void stop(GstDeviceProvider* provider) {
    delete std::exchange(reinterpret_cast<Provider*>(provider)->watch, nullptr);
}

void initClass(gpointer providerClass, gpointer /*data*/) {
    auto* const deviceClass = GST_DEVICE_PROVIDER_CLASS(providerClass);
    deviceClass->probe = probe;
    deviceClass->start = start;
    deviceClass->stop = stop;
    gst_device_provider_class_set_static_metadata(
        deviceClass, "Cabin audio devices", "Source/Sink/Audio",
        "Lists the streams of the cabin audio server", "cabinaudio");
}

GType registerType() {
    GTypeInfo info = {};
    info.class_size = sizeof(GstDeviceProviderClass);
    info.class_init = initClass;
    info.instance_size = sizeof(Provider);
    return g_type_register_static(GST_TYPE_DEVICE_PROVIDER, "CabinAudioDeviceProvider", &info,
                                  GTypeFlags{});
}

}  // namespace

bool registerDeviceProvider(GstPlugin* plugin) {
    return gst_device_provider_register(plugin, NAME, RANK, registerType()) != FALSE;
}

}  // namespace cabinaudio::gstreamer
