// SPDX-License-Identifier: Apache-2.0
#include "tools/top/Top.h"

#include "tools/Failure.h"
#include "tools/Interruption.h"
#include "tools/Terminal.h"
#include "tools/server/ControlLine.h"
#include "tools/top/Change.h"
#include "tools/top/Keys.h"
#include "tools/top/Layout.h"
#include "tools/top/Screen.h"
#include "tools/top/ServerPoll.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <ctime>
#include <type_traits>

namespace cabinaudio::tool {

namespace {

using namespace top;
using Clock = ServerPoll::Clock;
using Wall = ServerPoll::Wall;

// Columns of a table that goes into a file or a pipe.
constexpr std::size_t FILE_COLUMNS = 200;
// A key's effect is awaited, while the screen stands still.
constexpr std::chrono::milliseconds LONGEST_CHANGE{2000};

std::string localTime(Wall::time_point time, const char* format) {
    const std::time_t seconds = Wall::to_time_t(time);
    struct tm local = {};
    localtime_r(&seconds, &local);
    char buffer[64];
    return {buffer, std::strftime(buffer, sizeof buffer, format, &local)};
}

std::string isoTime(Wall::time_point time) {
    return localTime(time, "%Y-%m-%dT%H:%M:%S%z");
}

Json stateNow(const TopOptions& options) {
    const std::string answer = askServer("state", options.timeout);
    Json state = Json::parse(answer, nullptr, false);
    if (!state.is_object()) throw Failure("the server's answer is no state: " + answer);
    return state;
}

Figures sorted(const Json& state, const Order& order) {
    Figures figures = figuresOf(state);
    sort(figures.streams, order);
    return figures;
}

std::size_t lineWidth() {
    struct winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1) return size.ws_col - 1u;
    return FILE_COLUMNS;
}

void printTable(const Json& state) {
    View view;
    view.time = localTime(Wall::now(), "%H:%M:%S");
    for (const Line& line : listOf(sorted(state, view.order), view, lineWidth(), glyphsOfLocale()))
        say(plainText(line));
}

/// The figures of the state, without what get and the client list show.
void printFigures(const Json& state) {
    Json line = {{"time", isoTime(Wall::now())}};
    for (const char* key :
         {"version", "output", "load", "loudspeakers", "inputs", "listeners", "streams"})
        if (const auto found = state.find(key); found != state.end()) line[key] = *found;
    printJson(line);
}

/// Asks at every interval and waits for whatever comes first.
class Watching {
public:
    explicit Watching(const TopOptions& options) : mOptions(options), mPoll(options.timeout) {
        Interruption::receiveHere();
    }
    virtual ~Watching() = default;
    Watching(const Watching&) = delete;
    Watching& operator=(const Watching&) = delete;

    void watch() {
        for (Clock::time_point next = Clock::now(); !isOver();) {
            if (Clock::now() >= next) {
                mPoll.ask();
                if (mPoll.lostSince()) onLoss();
                next = std::max(next + mOptions.interval, Clock::now());
            }
            if (!isOver()) wait(next);
        }
    }

protected:
    virtual void onState(const Json& state) = 0;
    virtual void onLoss() = 0;
    virtual void onInput() {}

    void end() { mIsOver = true; }
    [[nodiscard]] const ServerPoll& server() const { return mPoll; }

private:
    [[nodiscard]] bool isOver() const { return mIsOver || mInterruption.hasHappened(); }

    void wait(Clock::time_point until) {
        std::array<struct pollfd, 3> entries = {{{mInterruption.event().descriptor(), POLLIN, 0},
                                                 {mPoll.descriptor(), POLLIN, 0},
                                                 {inputDescriptor(), POLLIN, 0}}};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        const int ready = poll(entries.data(), entries.size(),
                               static_cast<int>(std::max<decltype(left)::rep>(0, left.count())));
        // A signal: the terminal's size has changed.
        if (ready < 0) onInput();
        if (ready <= 0) return;
        if (entries[1].revents != 0) receive();
        if (entries[2].revents != 0) onInput();
        if ((entries[2].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) end();
    }

    void receive() {
        const auto state = mPoll.receive();
        if (mPoll.lostSince()) onLoss();
        if (!state) return;
        onState(*state);
        if (mOptions.count && ++mStates == *mOptions.count) end();
    }

    [[nodiscard]] virtual int inputDescriptor() const { return -1; }

    const TopOptions& mOptions;
    Interruption mInterruption;
    ServerPoll mPoll;
    std::uint64_t mStates = 0;
    bool mIsOver = false;
};

/// One JSON object for each state.
class JsonLines : public Watching {
public:
    using Watching::Watching;

private:
    void onState(const Json& state) override {
        mIsLost = false;
        printFigures(state);
    }
    /// Once for each loss.
    void onLoss() override {
        if (mIsLost) return;
        mIsLost = true;
        printJson({{"time", isoTime(Wall::now())},
                   {"waiting_since", isoTime(*server().lostSince())},
                   {"problem", server().problem()}});
    }

    bool mIsLost = false;
};

/// The whole terminal.
class Display : public Watching {
public:
    explicit Display(const TopOptions& options) : Watching(options), mOptions(options) {}

private:
    void onState(const Json& state) override {
        mView.waitingFor.clear();
        mFigures = sorted(state, mView.order);
        onInput();
    }

    void onLoss() override {
        mFigures = {};
        mView.waitingFor = "waiting for the server since " +
                           localTime(*server().lostSince(), "%H:%M:%S") + ": " + server().problem();
        onInput();
    }

    /// Also draws: a new size of the terminal is among the keys.
    void onInput() override {
        for (int key = Screen::readKey(); key != NO_KEY; key = Screen::readKey()) {
            std::visit([this](const auto& action) { act(action); }, onKey(key, mView, mFigures));
            sort(mFigures.streams, mView.order);
        }
        draw();
    }

    void act(const Nothing&) {}
    void act(const Quit&) { end(); }
    void act(const SettingChange& change) {
        mView.message = perform(change, std::min(mOptions.timeout, LONGEST_CHANGE));
        anticipate(change, mFigures);
    }
    void act(const ServerCommand& command) {
        mView.message = perform(command, std::min(mOptions.timeout, LONGEST_CHANGE));
    }

    void draw() {
        mView.time = localTime(Wall::now(), "%H:%M:%S");
        Screen::draw(screenOf(mFigures, mView, Screen::size(), mGlyphs));
    }

    [[nodiscard]] int inputDescriptor() const override { return STDIN_FILENO; }

    const TopOptions& mOptions;
    const Screen mScreen;
    const Glyphs mGlyphs = glyphsOfLocale();
    Figures mFigures;
    View mView;
};

}  // namespace

std::string optionFault(const TopOptions& options, const CommonOptions& common) {
    if (options.once && options.count) return "--once does not go with --count";
    if (common.verbose && !common.json && !options.once)
        return "the log would disturb the screen; use --log FILE";
    return "";
}

ExitCode run(const TopOptions& options, const CommonOptions& common) {
    // Characters only: numbers keep their decimal point.
    std::setlocale(LC_CTYPE, "");
    // Without a server there is nothing to wait for, as with the other sub-commands.
    const Json state = stateNow(options);
    if (options.once && common.json)
        printFigures(state);
    else if (options.once)
        printTable(state);
    else if (common.json)
        JsonLines(options).watch();
    else
        Display(options).watch();
    return ExitCode::Done;
}

}  // namespace cabinaudio::tool
