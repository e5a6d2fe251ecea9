// SPDX-License-Identifier: Apache-2.0
#include "tests/plugins/gstreamer/Pipeline.h"
#include "tests/support/Generous.h"
#include "tests/support/RealServer.h"

#include <gst/gst.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::test {
namespace {

struct Unref {
    void operator()(gpointer object) const { gst_object_unref(object); }
};
template <typename Type>
using Owned = std::unique_ptr<Type, Unref>;

std::string taken(gchar* text) {
    std::string result = text;
    g_free(text);
    return result;
}

const std::set<std::string> SINKS = {"Cabin audio: alternative", "Cabin audio: auxiliary",
                                     "Cabin audio: main"};
const std::set<std::string> SOURCES = {"Cabin audio: front outputs", "Cabin audio: input 0",
                                       "Cabin audio: input 1", "Cabin audio: input 2",
                                       "Cabin audio: uplink"};

class GstDevices : public testing::Test {
protected:
    GstDevices() {
        initGStreamer();
        mProvider.reset(gst_device_provider_factory_get_by_name("cabinaudiodeviceprovider"));
    }
    void SetUp() override { ASSERT_NE(mProvider, nullptr); }

    [[nodiscard]] std::vector<Owned<GstDevice>> devices() const {
        std::vector<Owned<GstDevice>> result;
        GList* const list = gst_device_provider_get_devices(mProvider.get());
        for (GList* item = list; item != nullptr; item = item->next)
            result.emplace_back(static_cast<GstDevice*>(item->data));
        g_list_free(list);
        return result;
    }
    static std::string nameOf(const Owned<GstDevice>& device) {
        return taken(gst_device_get_display_name(device.get()));
    }
    [[nodiscard]] std::set<std::string> namesOf(const std::string& deviceClass) const {
        std::set<std::string> names;
        for (const auto& device : devices())
            if (taken(gst_device_get_device_class(device.get())) == deviceClass)
                names.insert(nameOf(device));
        return names;
    }
    [[nodiscard]] Owned<GstDevice> device(const std::string& name) const {
        for (auto& each : devices())
            if (nameOf(each) == name) return std::move(each);
        throw std::runtime_error("no device " + name);
    }
    static Owned<GstElement> make(const char* factory) {
        return Owned<GstElement>(static_cast<GstElement*>(
            gst_object_ref_sink(gst_element_factory_make(factory, nullptr))));
    }
    /// The nick of an element's property "tag".
    static std::string tagOf(const Owned<GstElement>& element) {
        GValue value = G_VALUE_INIT;
        g_object_get_property(G_OBJECT(element.get()), "tag", &value);
        const std::string nick =
            g_enum_get_value(G_ENUM_CLASS(g_type_class_peek(G_VALUE_TYPE(&value))),
                             g_value_get_enum(&value))
                ->value_nick;
        g_value_unset(&value);
        return nick;
    }
    /// Waits for messages of this type. @return the names of their devices
    [[nodiscard]] std::set<std::string> messages(GstMessageType type, std::size_t count) const {
        const Owned<GstBus> bus(gst_device_provider_get_bus(mProvider.get()));
        std::set<std::string> names;
        while (names.size() < count) {
            const Message message(gst_bus_timed_pop_filtered(bus.get(), 20 * GST_SECOND, type));
            if (message == nullptr) break;
            GstDevice* device = nullptr;
            if (type == GST_MESSAGE_DEVICE_ADDED)
                gst_message_parse_device_added(message.get(), &device);
            else
                gst_message_parse_device_removed(message.get(), &device);
            names.insert(nameOf(Owned<GstDevice>(device)));
        }
        return names;
    }

    Owned<GstDeviceProvider> mProvider;
};

}  // namespace

TEST_F(GstDevices, AreTheTagsOfTheServer) {
    const RealServer server;
    EXPECT_EQ(namesOf("Audio/Sink"), SINKS);
    EXPECT_EQ(namesOf("Audio/Source"), SOURCES);
    for (const auto& device : devices()) {
        GstCaps* const caps = gst_device_get_caps(device.get());
        EXPECT_FALSE(gst_caps_is_empty(caps));
        gst_caps_unref(caps);
    }
}

TEST_F(GstDevices, AreNoneWithoutAServer) {
    EXPECT_TRUE(devices().empty());
}

TEST_F(GstDevices, MakeElementsOfTheirTag) {
    const RealServer server;
    for (const auto& device : devices()) {
        const std::string name = nameOf(device);
        GstElement* const made = gst_device_create_element(device.get(), "mine");
        ASSERT_NE(made, nullptr) << name;
        const Owned<GstElement> element(static_cast<GstElement*>(gst_object_ref_sink(made)));
        EXPECT_STREQ(GST_OBJECT_NAME(made), "mine");
        GstStructure* const properties = gst_device_get_properties(device.get());
        EXPECT_EQ(tagOf(element), gst_structure_get_string(properties, "cabinaudio.tag")) << name;
        gst_structure_free(properties);
        const char* const factory = GST_OBJECT_NAME(gst_element_get_factory(made));
        EXPECT_STREQ(factory, SINKS.count(name) != 0 ? "cabinaudiosink" : "cabinaudiosrc") << name;
    }
}

TEST_F(GstDevices, ReconfigureElementsOfTheirKind) {
    const RealServer server;
    const Owned<GstDevice> input = device("Cabin audio: input 2");
    const Owned<GstElement> source = make("cabinaudiosrc");
    EXPECT_TRUE(gst_device_reconfigure_element(input.get(), source.get()));
    EXPECT_EQ(tagOf(source), "input2");
    const Owned<GstElement> sink = make("cabinaudiosink");
    EXPECT_FALSE(gst_device_reconfigure_element(input.get(), sink.get()));
    EXPECT_EQ(tagOf(sink), "default");
}

TEST_F(GstDevices, DoNotReconfigureElementsThatCapture) {
    const RealServer server;
    const Owned<GstDevice> input = device("Cabin audio: input 2");
    const Pipeline pipeline("cabinaudiosrc name=source ! fakesink async=false");
    ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
    EXPECT_FALSE(gst_device_reconfigure_element(input.get(), pipeline.element("source")));
}

TEST_F(GstDevices, ComeAndGoWithTheServer) {
    std::set<std::string> all = SINKS;
    all.insert(SOURCES.begin(), SOURCES.end());
    ASSERT_TRUE(gst_device_provider_start(mProvider.get()));
    EXPECT_TRUE(devices().empty());
    {
        const RealServer server;
        EXPECT_EQ(messages(GST_MESSAGE_DEVICE_ADDED, all.size()), all);
        EXPECT_EQ(devices().size(), all.size());
    }
    EXPECT_EQ(messages(GST_MESSAGE_DEVICE_REMOVED, all.size()), all);
    EXPECT_TRUE(devices().empty());
    gst_device_provider_stop(mProvider.get());
}

TEST_F(GstDevices, AreThereOnceTheProviderIsStarted) {
    const RealServer server;
    ASSERT_TRUE(gst_device_provider_start(mProvider.get()));
    EXPECT_EQ(devices().size(), SINKS.size() + SOURCES.size());
    gst_device_provider_stop(mProvider.get());
}

TEST_F(GstDevices, ProviderStopsWhileTheServerStandsStill) {
    const RealServer server;
    ASSERT_TRUE(gst_device_provider_start(mProvider.get()));
    server.kill(SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    gst_device_provider_stop(mProvider.get());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, generous(std::chrono::seconds(3)));
    server.kill(SIGCONT);
    EXPECT_EQ(devices().size(), SINKS.size() + SOURCES.size()) << "of a new look";
}

}  // namespace cabinaudio::test
