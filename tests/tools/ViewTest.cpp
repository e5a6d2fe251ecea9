// SPDX-License-Identifier: Apache-2.0
// `cabinaudio view`: its page over HTTP, as browsers and strangers ask for it, and its pictures.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/server/base/UniqueFd.h"
#include "tests/support/JsonSchema.h"
#include "tests/tools/PlayingToolTest.h"
#include "wire/Settings.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace cabinaudio::test {

namespace {

constexpr std::size_t MOST_STREAMS = 8;  // of one view

/// A connection to the page's server, with a bound for each wait.
class HttpClient {
public:
    explicit HttpClient(int port) : mSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        struct sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const struct timeval bound = {60, 0};
        setsockopt(mSocket.get(), SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);
        if (connect(mSocket.get(), reinterpret_cast<struct sockaddr*>(&address), sizeof address) !=
            0)
            throw std::runtime_error("the page's port does not accept");
    }

    void send(const std::string& text) const {
        if (::send(mSocket.get(), text.data(), text.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(text.size()))
            throw std::runtime_error("the request cannot be sent");
    }

    /// @return false at the end of the connection, or when nothing has come within the bound
    [[nodiscard]] bool receive(std::string& into) const {
        char part[65536];
        const ssize_t got = recv(mSocket.get(), part, sizeof part, 0);
        if (got <= 0) return false;
        into.append(part, static_cast<std::size_t>(got));
        return true;
    }

private:
    server::UniqueFd mSocket;
};

/// The tool, serving its page.
class View {
public:
    explicit View(const Words& more = {})
        : mProcess(with({"view", "--json", "--no-open"}, more)),
          mStart(json::parse(mProcess.readLine(), nullptr, false)) {
        if (!mStart.is_object() || !mStart.contains("address"))
            throw std::runtime_error("no address: " + mProcess.finish().err);
        expectSchema("view_address", mStart);
        const std::string address = mStart.at("address").get<std::string>();
        mPath = address.substr(address.find('/', sizeof "http://"));
        mHost = "127.0.0.1:" + std::to_string(port());
    }

    [[nodiscard]] int port() const { return mStart.at("port").get<int>(); }
    [[nodiscard]] bool isLive() const { return mStart.at("live").get<bool>(); }
    [[nodiscard]] const std::string& path() const { return mPath; }
    [[nodiscard]] const std::string& host() const { return mHost; }
    [[nodiscard]] ToolProcess& process() { return mProcess; }

    /// The whole answer. @param lines  header lines, each with its end
    [[nodiscard]] std::string ask(const std::string& method, const std::string& path,
                                  const std::string& lines, const std::string& body = "") const {
        const HttpClient client(port());
        client.send(
            method + " " + path + " HTTP/1.1\r\n" + lines +
            (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") +
            "\r\n" + body);
        std::string answer;
        while (client.receive(answer)) {
        }
        return answer;
    }
    /// The status of a request with these header lines.
    [[nodiscard]] int statusOf(const std::string& method, const std::string& path,
                               const std::string& lines, const std::string& body = "") const {
        return std::atoi(ask(method, path, lines, body).substr(sizeof "HTTP/1.1").c_str());
    }
    [[nodiscard]] std::string ownHost() const { return "Host: " + mHost + "\r\n"; }

    struct Answer {
        int status;
        json content;
    };
    [[nodiscard]] Answer set(const std::string& body) const {
        const std::string answer =
            ask("POST", mPath + "set", ownHost() + "Content-Type: application/json\r\n", body);
        json content = json::parse(answer.substr(answer.find("\r\n\r\n") + 4), nullptr, false);
        if (!content.is_discarded()) expectSchema("view_set", content);
        return {std::atoi(answer.substr(sizeof "HTTP/1.1").c_str()), std::move(content)};
    }

private:
    ToolProcess mProcess;
    json mStart;
    std::string mPath;
    std::string mHost;
};

/// A browser that shows the page: its events.
class Page {
public:
    struct Event {
        std::string name;
        json data;
    };

    explicit Page(const View& view) : mClient(view.port()) {
        mClient.send("GET " + view.path() + "events HTTP/1.1\r\n" + view.ownHost() + "\r\n");
    }

    /// The next event; its name is empty at the end of the stream.
    [[nodiscard]] Event next() {
        constexpr char NAME[] = "event: ";
        constexpr char DATA[] = "\ndata: ";
        constexpr char END[] = "\n\n";
        std::size_t begin = 0;
        std::size_t end = 0;
        while ((begin = mReceived.find(NAME)) == std::string::npos ||
               (end = mReceived.find(END, begin)) == std::string::npos)
            if (!mClient.receive(mReceived)) return {};
        const std::string text = mReceived.substr(begin, end - begin);
        mReceived.erase(0, end);
        const std::size_t data = text.find(DATA);
        Event event = {text.substr(sizeof NAME - 1, data - (sizeof NAME - 1)),
                       json::parse(text.substr(data + sizeof DATA - 1), nullptr, false)};
        expectSchema("view_" + event.name, event.data);
        return event;
    }

    /// The first event that fits; null when the stream has ended.
    [[nodiscard]] json await(
        const std::string& name,
        const std::function<bool(const json&)>& fits = [](const json&) { return true; }) {
        for (Event event = next(); !event.name.empty(); event = next())
            if (event.name == name && fits(event.data)) return event.data;
        return nullptr;
    }
    [[nodiscard]] json awaitChange(const std::string& setting) {
        return await("settings",
                     [&](const json& event) { return event.at("changes").contains(setting); });
    }

private:
    HttpClient mClient;
    std::string mReceived;
};

class ViewTool : public PlayingToolTest {};

}  // namespace

TEST_F(ViewTool, ServesItsPageToThoseWhoKnowTheAddressOnly) {
    serve();
    const View view;
    const std::string page = view.ask("GET", view.path(), view.ownHost());
    EXPECT_THAT(page, StartsWith("HTTP/1.1 200 "));
    for (const char* header :
         {"Content-Security-Policy: default-src 'none'", "Cache-Control: no-store",
          "X-Content-Type-Options: nosniff", "Referrer-Policy: no-referrer", "text/html"})
        EXPECT_THAT(page, HasSubstr(header));
    const std::string port = std::to_string(view.port());
    const auto status = [&](const std::string& path, const std::string& lines) {
        return view.statusOf("GET", path, lines);
    };
    EXPECT_EQ(status(view.path(), "Host: localhost:" + port + "\r\n"), 200);
    EXPECT_EQ(status(view.path(), view.ownHost() + "Origin: http://" + view.host() + "\r\n"), 200);

    EXPECT_EQ(status(view.path(), "Host: cabin.example.org\r\n"), 403);
    EXPECT_EQ(status(view.path(), "Host: 127.0.0.1\r\n"), 403);
    EXPECT_EQ(status(view.path(), ""), 403);
    EXPECT_EQ(status(view.path(), view.ownHost() + "Origin: http://example.org\r\n"), 403);
    EXPECT_EQ(status(view.path(), view.ownHost() + "Origin: null\r\n"), 403);
    EXPECT_EQ(status(view.path() + "events", view.ownHost() + "Origin: http://a\r\n"), 403);

    std::string other = view.path();
    other[1] = other[1] == '0' ? '1' : '0';
    for (const std::string& path :
         {std::string("/"), other, other + "events", view.path().substr(0, view.path().size() - 1),
          view.path() + "nothing", view.path() + "../index.html", std::string("/index.html")})
        EXPECT_EQ(status(path, view.ownHost()), 404) << path;
}

TEST_F(ViewTool, RefusesOtherMethodsFormsAndLongRequests) {
    serve();
    const View view;
    const std::string set = view.path() + "set";
    for (const char* method : {"PUT", "DELETE", "OPTIONS", "PATCH"})
        EXPECT_EQ(view.statusOf(method, view.path(), view.ownHost()), 404) << method;
    EXPECT_EQ(view.statusOf("GET", set, view.ownHost()), 404);
    EXPECT_EQ(view.statusOf("POST", view.path(), view.ownHost(), "{}"), 404);
    const std::string form = "Content-Type: application/x-www-form-urlencoded\r\n";
    EXPECT_EQ(view.statusOf("POST", set, view.ownHost() + form, "name=fade&value=1"), 415);
    const std::string type = "Content-Type: application/json\r\n";
    EXPECT_EQ(view.statusOf("POST", set, view.ownHost() + "Origin: http://a\r\n" + type,
                            R"({"name": "fade", "value": 20})"),
              403);
    const std::string padding(5000, ' ');
    EXPECT_EQ(view.set(R"({"name": "fade", "value": 20)" + padding + "}").status, 413);
    EXPECT_EQ(runExpecting(0, {"get", "fade"}).out, "fade=0\n");
}

TEST_F(ViewTool, SetsSettingsAndReadsThemBack) {
    serve();
    const View view;
    EXPECT_EQ(view.set(R"({"name": "volume.master", "value": -6.5})").content,
              json::parse(R"({"name": "volume.master", "value": -6.5, "error": null})"));
    EXPECT_EQ(view.set(R"({"name": "mute.main", "value": true})").content.at("value"), true);
    EXPECT_EQ(view.set(R"({"name": "volume.ramp", "value": [20, 30]})").content.at("value"),
              json::parse("[20, 30]"));
    const json both = view.set(R"({"name": "fade", "value": 20, "partner": -10})").content;
    EXPECT_EQ(both.at("value"), 20);
    EXPECT_EQ(both.at("partner"), -10);
    EXPECT_EQ(runExpecting(0, {"get", "volume.master", "mute.main", "fade", "balance"}).out,
              "volume.master=-6.5dB\nmute.main=on\nfade=20\nbalance=-10\n");
}

TEST_F(ViewTool, ShowsWhyASettingIsRefused) {
    serve();
    const View view;
    const auto refused = [&](const std::string& body, const char* why) {
        const View::Answer answer = view.set(body);
        EXPECT_EQ(answer.status, 400) << body;
        EXPECT_THAT(answer.content.at("error").at("text").get<std::string>(), HasSubstr(why));
    };
    refused("[", "must be JSON");
    refused("{}", "must be JSON");
    refused(R"({"name": 1, "value": 2})", "must be JSON");
    refused(R"({"name": "volume.mister", "value": 1})", "no setting has this name");
    refused(R"({"name": "volume.master", "value": 50})", "must be -103.5dB to 24dB");
    refused(R"({"name": "volume.master", "value": {"a": 1}})", "must be a number, a text");
    refused(R"({"name": "volume.master", "value": 1, "partner": 1})", "has no partner");
    refused(R"({"name": "types", "value": "x"})", "can only be read");
    const View::Answer byServer = view.set(R"({"name": "ducking.mode", "value": 7})");
    EXPECT_EQ(byServer.status, 200);
    EXPECT_NE(byServer.content.at("error").at("status"), 0);
    EXPECT_THAT(byServer.content.at("error").at("text").get<std::string>(),
                HasSubstr("the server refused it: AUDIO_BAD_VALUE"));
    EXPECT_EQ(byServer.content.at("value"), 0) << "as read back";
}

TEST_F(ViewTool, TellsTheCabinAndThenEveryChange) {
    serve();
    const View view;
    EXPECT_TRUE(view.isLive());
    Page first(view);
    Page second(view);
    for (Page* const page : {&first, &second}) {
        const Page::Event cabin = page->next();
        ASSERT_EQ(cabin.name, "cabin");
        EXPECT_EQ(cabin.data.at("server").at("kind"), "development");
        EXPECT_EQ(cabin.data.at("server").at("version"), CABINAUDIO_VERSION);
        EXPECT_EQ(cabin.data.at("settings").at("volume.master").at("value"), 0);
        EXPECT_EQ(cabin.data.at("settings").at("volume.master").at("maximum"), 24);
    }
    runExpecting(0, {"set", "volume.master=-9dB"});
    (void)view.set(R"({"name": "mute.second", "value": true})");
    for (Page* const page : {&first, &second}) {
        json seen = json::object();  // changes that are close together are one event
        (void)page->await("settings", [&](const json& event) {
            seen.update(event.at("changes"));
            return seen.contains("volume.master") && seen.contains("mute.second");
        });
        EXPECT_EQ(seen["volume.master"], -9);
        EXPECT_EQ(seen["mute.second"], true);
    }
}

TEST_F(ViewTool, TellsStreamsLevelsAndRequests) {
    serve();
    const View view;
    Page page(view);
    playForever("radio");
    const std::string setting = "volume.track.auxiliary.radio";
    EXPECT_EQ(page.await("settings", [](const json& event) { return event.contains("added"); })
                  .at("added")
                  .at(setting)
                  .at("type"),
              "gain");
    runExpecting(0, {"set", setting + "=-12dB"});
    const json live = page.await("live", [](const json& event) {
        const json& streams = event.at("streams");
        return !streams.empty() && streams[0].at("volume") == -12 &&
               !streams[0].at("level_db").is_null() && !event.at("spectrum")[10].at("db").is_null();
    });
    ASSERT_TRUE(live.is_object());
    const json& stream = live.at("streams").at(0);
    EXPECT_EQ(stream.at("name"), "radio");
    EXPECT_EQ(stream.at("pid"), mPlayer->pid());
    EXPECT_EQ(stream.at("output"), "auxiliary");
    EXPECT_EQ(stream.at("volume_setting"), setting);
    EXPECT_EQ(stream.at("loudspeakers_db").size(), 2U);
    EXPECT_FALSE(live.at("loudspeakers").at(0).at("peak_db").is_null());
    mPlayer.reset();
    Page later(view);  // gets the requests that were answered before
    const json requests = later.await("live").at("requests");
    EXPECT_TRUE(std::any_of(requests.begin(), requests.end(), [](const json& request) {
        return request.at("request") == "setTrackVolume" && request.at("status") == 0;
    })) << requests.dump();
}

TEST_F(ViewTool, TellsWhoDucksWhom) {
    serve();
    runExpecting(0, {"set", "ducking.mode=1", "ducking.target=-20dB"});
    writeSound(file("sound.wav"), {.frames = 480000});
    ToolProcess music({"play", "--tag", "main", "--name", "music", file("sound.wav")});
    ToolProcess prompt({"play", "--tag", "alternative", "--name", "prompt", file("sound.wav")});
    const View view;
    Page page(view);
    const json live = page.await("live", [](const json& event) {
        const json& streams = event.at("streams");
        return std::any_of(streams.begin(), streams.end(), [](const json& stream) {
            return stream.at("name") == "music" &&
                   stream.at("ducked_by") == json::parse(R"([{"name": "prompt", "db": -20.0}])");
        });
    });
    EXPECT_TRUE(live.is_object());
}

TEST_F(ViewTool, TellsThatTheServerIsGoneAndThatItIsBack) {
    serve();
    const View view;
    Page page(view);
    EXPECT_EQ(page.next().name, "cabin");
    mServer->kill(SIGKILL);
    mServer->wait();
    EXPECT_THAT(page.await("gone").at("text").get<std::string>(), HasSubstr("the server"));
    EXPECT_EQ(view.set(R"({"name": "fade", "value": 20})").status, 503);
    serve();
    EXPECT_EQ(page.await("cabin").at("server").at("kind"), "development");
    EXPECT_EQ(view.set(R"({"name": "volume.master", "value": -20})").content.at("value"), -20);
    EXPECT_EQ(page.awaitChange("volume.master").at("changes").at("volume.master"), -20);
}

TEST_F(ViewTool, EndsInGoodOrderWithAnOpenPage) {
    serve();
    View view;
    Page page(view);
    EXPECT_EQ(page.next().name, "cabin");
    view.process().send(SIGTERM);
    EXPECT_TRUE(page.await("gone").is_null()) << "the stream ends";
    view.process().finishExpecting(0);
}

TEST_F(ViewTool, LimitsItsPagesAndOneThatDoesNotReadHoldsUpNoOther) {
    serve();
    const View view;
    std::vector<std::unique_ptr<Page>> pages;
    for (std::size_t i = 0; i < MOST_STREAMS; ++i) {
        pages.push_back(std::make_unique<Page>(view));
        EXPECT_EQ(pages.back()->next().name, "cabin");
    }
    EXPECT_EQ(view.statusOf("GET", view.path() + "events", view.ownHost()), 503);
    runExpecting(0, {"set", "volume.master=-30dB"});
    EXPECT_EQ(pages.back()->awaitChange("volume.master").at("changes").at("volume.master"), -30);
}

TEST_F(ViewTool, ReadsTheSettingsOfAnotherServerInTurn) {
    ScriptedServer server;
    std::atomic<int> gain{-3};
    server.on(AUDIO_CONNECT_VOLUME_SETTING, id(wire::VolumeFunction::GetMasterGain),
              [&](const Request&) { return Answer::words(0, static_cast<float>(gain.load())); });
    const View view;
    EXPECT_FALSE(view.isLive());
    Page page(view);
    const Page::Event cabin = page.next();
    ASSERT_EQ(cabin.name, "cabin");
    EXPECT_EQ(cabin.data.at("server").at("kind"), "other");
    EXPECT_EQ(cabin.data.at("settings").at("volume.master").at("value"), -3);
    gain = -7;
    EXPECT_EQ(page.awaitChange("volume.master").at("changes").at("volume.master"), -7);
}

TEST_F(ViewTool, DrawsThePictureOfTheMoment) {
    serve();
    const std::string name = "a<b&c";
    playForever(name);
    runExpecting(0, {"set", "fade=-40"});
    const std::string svg = file("cabin.svg");
    EXPECT_EQ(runExpecting(0, {"view", "--export", svg}).out, svg + ": the cabin with 1 stream\n");
    const std::string picture = contentsOf(svg);
    EXPECT_THAT(picture, StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\""));
    EXPECT_THAT(picture, HasSubstr(">a&lt;b&amp;c</text>"));
    EXPECT_THAT(picture, HasSubstr("fade -40, balance 0"));
    EXPECT_THAT(picture, testing::EndsWith("</svg>\n"));
    runExpecting(0, {"view", "--export", file("dark.svg"), "--dark"});
    EXPECT_NE(contentsOf(file("dark.svg")).substr(0, 600), picture.substr(0, 600));
}

#ifdef CABINAUDIO_TEST_CAIRO
TEST_F(ViewTool, DrawsThePictureAsPng) {
    setenv("LSAN_OPTIONS", "suppressions=" CABINAUDIO_TEST_LEAK_SUPPRESSIONS, 1);
    serve();
    const std::string png = file("cabin.png");
    const json report = json::parse(runExpecting(0, {"view", "--json", "--export", png}).out);
    EXPECT_EQ(report.at("file"), png);
    EXPECT_EQ(report.at("streams"), 0);
    EXPECT_THAT(contentsOf(png), StartsWith("\x89PNG"));
}
#endif

TEST_F(ViewTool, NamesItsReasonWhenItCannot) {
    EXPECT_THAT(runExpecting(3, {"view", "--no-open"}).err, HasSubstr("no server"));
    EXPECT_THAT(runExpecting(3, {"view", "--export", file("a.svg")}).err, HasSubstr("no server"));
    EXPECT_THAT(runExpecting(2, {"view", "--export", "a.gif"}).err, HasSubstr(".svg or .png"));
    EXPECT_THAT(runExpecting(2, {"view", "--dark"}).err, HasSubstr("--dark needs --export"));
    EXPECT_THAT(runExpecting(2, {"view", "--export", "a.svg", "--port", "1234"}).err,
                HasSubstr("--port does not go with --export"));
    serve();
    EXPECT_THAT(runExpecting(1, {"view", "--export", file("none/a.svg")}).err,
                HasSubstr("cannot write"));
    const View view;
    EXPECT_THAT(runExpecting(1, {"view", "--no-open", "--port", std::to_string(view.port())}).err,
                HasSubstr("the port cannot be used: "));
}

}  // namespace cabinaudio::test
