// SPDX-License-Identifier: Apache-2.0
#include "tools/view/View.h"

#include "tools/ServerSocket.h"
#include "tools/Terminal.h"
#include "tools/view/Board.h"
#include "tools/view/Browser.h"
#include "tools/view/EventText.h"
#include "tools/view/Export.h"
#include "tools/view/HttpServer.h"
#include "tools/view/Model.h"
#include "tools/view/SetQueue.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <utility>

namespace cabinaudio::tool {

namespace {

using namespace view;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto LIVE_PAUSE = 100ms;
constexpr auto RETURN_PAUSE = 200ms;
constexpr auto IDLE_PAUSE = 1000ms;

constexpr int BAD_REQUEST = 400;
constexpr int UNAVAILABLE = 503;

/// Keeps the model up to date, and answers the page's requests. All of it on the thread of the
/// command; the HTTP server's threads only see snapshots.
class Viewing {
public:
    Viewing(Session& session, const ViewOptions& options)
        : mSession(session),
          mOptions(options),
          mModel(session, options.timeout),
          mQueue(2 * options.timeout) {}

    void serve() {
        mModel.connect();
        mBoard.publish(mModel.snapshot());
        HttpServer server(
            mOptions.port, [this](const std::string& body) { return mQueue.ask(body); },
            [this] { return std::make_unique<EventText>(mBoard); });
        const Ends ends(*this);
        announce(server);
        while (!isOver())
            watchUntilLoss();
    }

private:
    /// Lets the server's threads end, however this one does.
    struct Ends {
        explicit Ends(Viewing& viewing) : mViewing(viewing) {}
        ~Ends() {
            mViewing.mBoard.close();
            mViewing.mQueue.close();
        }
        Ends(const Ends&) = delete;
        Ends& operator=(const Ends&) = delete;
        Viewing& mViewing;
    };

    [[nodiscard]] bool isOver() const { return mSession.interruption().hasHappened(); }

    void announce(const HttpServer& server) {
        const std::string note = mModel.live() != nullptr
                                     ? ""
                                     : "; this server tells settings only: no levels, no streams";
        if (mSession.wantsJson())
            printJson({{"address", server.address()},
                       {"port", server.port()},
                       {"live", mModel.live() != nullptr}});
        else
            say(server.address());
        complain("serving the page until Ctrl-C" + note);
        if (mOptions.mayOpen) openBrowser(server.address());
    }

    void watchUntilLoss() {
        try {
            while (!isOver())
                watch();
        } catch (const Failure& failure) {
            if (isOver()) return;
            mBoard.publish(mModel.goneSnapshot(failure.what()));
            awaitReturn();
        }
    }

    /// Waits for whatever comes first, and handles it.
    void watch() {
        const bool isWatched = mBoard.isWatched();
        if (isWatched) act();
        wait(isWatched);
        mQueue.serve([this](const std::string& body) { return set(body); });
        if (mLoss) throw *std::exchange(mLoss, std::nullopt);
        publishNews();
    }

    /// Whatever is due.
    void act() {
        const Clock::time_point now = Clock::now();
        if (mModel.live() != nullptr && now >= mNextLive) {
            mModel.live()->ask();
            mNextLive = std::max(mNextLive + LIVE_PAUSE, now);
        }
        if (!mModel.settings().isFed() && now >= mNextRead) {
            mModel.settings().readSome();
            mNextRead = Clock::now() + SettingsModel::READ_PAUSE;
        }
    }

    void wait(bool isWatched) {
        mBoard.watched().clear();
        const int feed = mModel.settings().descriptor();
        const int live = mModel.live() != nullptr ? mModel.live()->descriptor() : -1;
        std::array<struct pollfd, 5> entries = {
            {{mSession.interruption().event().descriptor(), POLLIN, 0},
             {mQueue.waiting().descriptor(), POLLIN, 0},
             {mBoard.watched().descriptor(), POLLIN, 0},
             {feed, POLLIN, 0},
             {live, POLLIN, 0}}};
        // A stream may have come since isWatched was asked.
        const bool isNew = !isWatched && mBoard.isWatched();
        const int bound = isNew ? 0 : static_cast<int>(pause(isWatched).count());
        if (poll(entries.data(), entries.size(), bound) <= 0) return;
        if (entries[3].revents != 0) mModel.settings().takeChanges();
        if (entries[4].revents != 0) mHasNews |= mModel.live()->receive();
    }

    [[nodiscard]] std::chrono::milliseconds pause(bool isWatched) {
        const bool isFed = mModel.settings().isFed();
        if (!isWatched || (isFed && mModel.live() == nullptr)) return IDLE_PAUSE;
        const Clock::time_point next = isFed ? mNextLive : mNextRead;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        return std::clamp<std::chrono::milliseconds>(left, 0ms, IDLE_PAUSE);
    }

    void publishNews() {
        if (mModel.settings().shown() == mShown && !mHasNews) return;
        mShown = mModel.settings().shown();
        mHasNews = false;
        mBoard.publish(mModel.snapshot());
    }

    /// The server is away.
    void awaitReturn() {
        while (!isOver()) {
            waitForAny({&mSession.interruption().event(), &mQueue.waiting()}, RETURN_PAUSE);
            mQueue.serve([](const std::string&) {
                return refusalOf(UNAVAILABLE, "the server is not there");
            });
            if (isOver() || !serverListens()) continue;
            try {
                mModel.connect();
                mBoard.publish(mModel.snapshot());
                return;
            } catch (const Failure&) {  // not ready yet, or gone again
            }
        }
    }

    HttpServer::Answer set(const std::string& body) {
        const Json request = Json::parse(body, nullptr, false);
        if (!request.is_object() || !request.contains("name") || !request["name"].is_string() ||
            !request.contains("value"))
            return refusalOf(BAD_REQUEST,
                             R"(the request must be JSON: {"name": "fade", "value": 20})");
        if (mLoss) return refusalOf(UNAVAILABLE, mLoss->what());
        try {
            return answerOf(request["name"].get<std::string>(), request["value"],
                            request.value("partner", Json(nullptr)));
        } catch (const Failure& failure) {
            mLoss = failure;
            return refusalOf(UNAVAILABLE, failure.what());
        }
    }

    HttpServer::Answer answerOf(const std::string& name, const Json& value, const Json& partner) {
        const SettingsModel::Result result = mModel.settings().set(name, value, partner);
        Json json = {{"name", name}, {"value", result.value}};
        if (!partner.is_null()) json["partner"] = result.partner;
        json["error"] = nullptr;
        if (!result.error.empty())
            json["error"] = {{"status", result.isInvalid ? Json(nullptr) : Json(result.status)},
                             {"text", result.error}};
        const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
        return {result.isInvalid ? BAD_REQUEST : 200, text};
    }

    Session& mSession;
    const ViewOptions& mOptions;
    Model mModel;
    SetQueue mQueue;
    Board mBoard;
    std::shared_ptr<const ShownSettings> mShown;  // that were published last
    bool mHasNews = false;                        // levels that were not published
    std::optional<Failure> mLoss;                 // of the server, during a page's request
    Clock::time_point mNextLive;
    Clock::time_point mNextRead;
};

}  // namespace

std::string optionFault(const ViewOptions& options) {
    if (options.exportFile.empty()) return options.isDark ? "--dark needs --export" : "";
    if (options.port != 0) return "--port does not go with --export";
    return exportFault(options.exportFile);
}

ExitCode run(const ViewOptions& options, const CommonOptions& common) {
    Session session(options, common);
    return session.run([&] {
        if (options.exportFile.empty())
            Viewing(session, options).serve();
        else
            exportPicture(session, options);
    });
}

}  // namespace cabinaudio::tool
