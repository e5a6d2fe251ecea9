// SPDX-License-Identifier: Apache-2.0
// kill-server MESSAGE CUT KIND: a server that stops (SIGSTOP) once it listens, and again at one
// point of its first client's conversation, and continues from there with SIGCONT. The process that
// started it waits for the stop, and kills or continues it. It ends with its standard input, and,
// even while it is stopped, with the process that started it.
//
// MESSAGE  number of the client's message, 0 is the registration; -1: none
// CUT      see Point.h
// KIND     of the client, see Kinds.h
#include "tests/kill/Point.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/kinds/SettingKinds.h"
#include "tests/support/kinds/StreamKinds.h"

#include <android/log.h>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

namespace {

using namespace cabinaudio::test;

/// Means nothing to clients whose ring is not announced.
constexpr std::uint32_t UNKNOWN_EVENT = 77;

class Server {
public:
    Server(int message, Cut cut, std::string_view kind)
        : mMessage(message), mCut(cut), mStream(findStreamKind(kind)) {
        for (const SettingKind& setting : settingKinds())
            if (setting.name == kind) mReplied = setting.replied;
        if (mStream != nullptr) mRing.emplace(*mStream);
        mServer.onRegistration([this](const Request& request) {
            return answer(request, bytesOf({0, 100}));
        });
        mServer.onOther(
            [this](const Request& request) { return answer(request, bodyOf(request)); });
    }

    /// Stands still at its point, and then serves until its input ends.
    void run() {
        suspend();  // now it can be connected to
        if (mMessage >= 0) std::thread([this] { stopAtPoint(); }).detach();
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        while (poll(&input, 1, -1) <= 0) {
        }
        // The thread may wait for a point that never came.
        _exit(0);
    }

private:
    /// At once: a signal to the process instead of the thread might stop another thread first, and
    /// this one would go on meanwhile.
    static void suspend() { raise(SIGSTOP); }

    /// As many bytes as the client expects: it takes more bytes for the next message.
    Bytes bodyOf(const Request& request) {
        if (mStream == nullptr) return Bytes(mReplied);
        switch (request.function()) {
            case 2:
            case 21:
                mRing->begin();
                return bytesOf({0, 0, RING_SIZE, 1024, 16, 256, 0});
            case 18:
            case 20:
                (void)mRing->place();
                return bytesOf({0, RING_ADDRESS, RING_SIZE});
            default:
                return Bytes(4);
        }
    }

    Answer answer(const Request& request, Bytes body) {
        // A ring is announced once its stream is started.
        const bool announces =
            !request.isRegistration() && request.function() == 6 && event() != UNKNOWN_EVENT;
        if (request.client != 0 || mSeen++ != mMessage) {
            Answer whole = Answer::bytes(std::move(body));
            if (announces) whole.then(event(), 1);
            return whole;
        }
        Bytes frame = ScriptedServer::frame(HEADER_REPLY);
        frame.insert(frame.end(), body.begin(), body.end());
        mReply.set_value({std::move(frame), announces});
        return Answer::none();
    }

    /// The notification that announces a ring.
    [[nodiscard]] std::uint32_t event() const {
        return mStream != nullptr && !mStream->isPosix ? mStream->event : UNKNOWN_EVENT;
    }

    struct Reply {
        Bytes bytes;
        bool announces;
    };

    void stopAtPoint() {
        const Reply reply = mReply.get_future().get();
        const Bytes& all = reply.bytes;
        std::size_t sent = 0;
        if (mCut == Cut::InHeader) sent = 13;
        if (mCut == Cut::InBody) sent = all.size() - 2;
        if (mCut >= Cut::Behind) sent = all.size();
        send(all, 0, sent);
        const Bytes notification =
            ScriptedServer::frame(HEADER_NOTIFY, reply.announces ? event() : UNKNOWN_EVENT, 1);
        const std::size_t told = mCut == Cut::InNotification       ? 21
                                 : mCut == Cut::BehindNotification ? notification.size()
                                                                   : 0;
        send(notification, 0, told);
        suspend();
        send(all, sent, all.size());
        if (told != 0 || reply.announces) send(notification, told, notification.size());
    }

    void send(const Bytes& bytes, std::size_t begin, std::size_t end) {
        if (begin < end)
            mServer.send(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                               bytes.begin() + static_cast<std::ptrdiff_t>(end)));
    }

    const int mMessage;
    const Cut mCut;
    const StreamKind* const mStream;  // null for settings
    std::size_t mReplied = 0;
    int mSeen = 0;  // of the server's thread
    std::promise<Reply> mReply;
    std::optional<ServedRing> mRing;
    ScriptedServer mServer;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, 0) != 0) return 2;  // the parent process has ended
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    Server(std::atoi(argv[1]), static_cast<Cut>(std::atoi(argv[2])), argv[3]).run();
}
