// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ScriptedServer.h"

#include <cabinaudio/foundation/AudioTime.h>

#include "tests/support/LocalSocket.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace cabinaudio::test {

namespace {

constexpr int BACKLOG = 256;
constexpr std::size_t PIECE = 65536;
constexpr std::uint32_t FIRST_HANDLE = 100;
constexpr std::uint32_t LONGEST_PAYLOAD = 64u << 20;

void append(Bytes& to, const Bytes& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

/// One send. Deliberately not send(2): tests replace that one in this process to trouble the
/// library. What a closed peer does not take is lost, as on a real server.
void sendBytes(int descriptor, const Bytes& bytes) {
    if (bytes.empty()) return;
    iovec piece = {const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
    msghdr message = {};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    [[maybe_unused]] const ssize_t sent = ::sendmsg(descriptor, &message, MSG_NOSIGNAL);
}

}  // namespace

// ---- Request and Answer -------------------------------------------------------------------------

std::uint32_t Request::word(std::size_t index) const {
    std::uint32_t value = 0;
    if ((index + 1) * sizeof value <= payload.size())
        std::memcpy(&value, payload.data() + index * sizeof value, sizeof value);
    return value;
}

Answer Answer::bytes(Bytes body) {
    Answer answer;
    answer.mBody = std::move(body);
    return answer;
}

Answer Answer::raw(Bytes bytes) {
    Answer answer = Answer::bytes(std::move(bytes));
    answer.mFramed = false;
    return answer;
}

Answer Answer::none() {
    return raw({});
}

Answer Answer::close() {
    return none().thenClose();
}

Answer& Answer::held() {
    mHold = Hold::All;
    return *this;
}

Answer& Answer::bodyHeld() {
    mHold = Hold::Body;
    return *this;
}

Answer& Answer::after(std::uint32_t event, std::uint32_t param) {
    append(mFront, ScriptedServer::frame(HEADER_NOTIFY, event, param));
    return *this;
}

Answer& Answer::then(std::uint32_t event, std::uint32_t param) {
    append(mBack, ScriptedServer::frame(HEADER_NOTIFY, event, param));
    return *this;
}

Answer& Answer::thenClose() {
    return closing(true);
}

Answer& Answer::closing(bool closes) {
    mClose = closes;
    return *this;
}

/// What goes in front of the body. Made late, because the frame carries its time of sending.
Bytes Answer::head() const {
    Bytes bytes = mFront;
    if (mFramed) append(bytes, ScriptedServer::frame(HEADER_REPLY));
    return bytes;
}

Bytes Answer::tail() const {
    Bytes bytes = mBody;
    append(bytes, mBack);
    return bytes;
}

void Answer::appendWord(std::uint32_t word) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&word);
    mBody.insert(mBody.end(), bytes, bytes + sizeof word);
}

// ---- The server's state and thread --------------------------------------------------------------

class ScriptedServer::Engine {
public:
    struct Client {
        int descriptor = -1;  // written under both locks, read under either; -1 when ended
        bool reads = true;
        Bytes unparsed;  // of the server's thread
        Bytes received;
        std::vector<std::size_t> pieces;
        std::optional<Answer> held;
        std::size_t permits = 0;  // releases that came before their answer
        std::mutex sending;       // a send may block; the records stay accessible meanwhile
    };

    explicit Engine(const std::string& path);
    ~Engine();

    void setRule(std::optional<std::uint32_t> type, std::uint32_t function, Handler handler);
    void setOther(Handler handler);
    void setRegistration(Handler handler);

    void release(std::size_t index);
    void send(std::size_t index, const Bytes& bytes);
    void close(std::size_t index);
    void stop();
    void setReading(std::size_t index, bool reads);

    /// Looks at clients and requests, under the lock.
    template <typename Look>
    auto look(Look lookAt) const {
        const std::lock_guard lock(mLock);
        return lookAt(*this);
    }
    template <typename Condition>
    bool waitUntil(std::chrono::milliseconds bound, Condition condition) const {
        std::unique_lock lock(mLock);
        return mChanged.wait_for(lock, bound, [&] { return condition(*this); });
    }
    [[nodiscard]] std::size_t count(const Predicate& predicate) const {
        return static_cast<std::size_t>(
            std::count_if(mRequests.begin(), mRequests.end(), predicate));
    }

    std::vector<std::unique_ptr<Client>> mClients;  // guarded by mLock; entries never go
    std::vector<Request> mRequests;                 // guarded by mLock

private:
    using Rule = std::pair<std::optional<std::uint32_t>, std::uint32_t>;

    void run();
    std::vector<pollfd> watched() const;
    void accept();
    void read(std::size_t index);
    static std::vector<Request> parse(std::size_t index, Bytes& bytes);
    void serve(const Request& request);
    Handler handlerFor(const Request& request) const;
    bool takePermit(std::size_t index, const Answer& answer);
    void deliver(std::size_t index, const Answer& answer);
    void end(Client& client);
    void wake() const;
    Client& client(std::size_t index) const;

    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    std::map<Rule, Handler> mRules;
    Handler mOther = [](const Request&) { return Answer::status(0); };
    Handler mRegistration = [](const Request& request) {
        return Answer::handle(FIRST_HANDLE + static_cast<std::uint32_t>(request.client));
    };
    server::UniqueFd mListener;
    const int mWake;
    std::atomic<bool> mStopping = false;
    std::thread mThread;
};

ScriptedServer::Engine::Engine(const std::string& path)
    : mListener(listenAt(path, BACKLOG)), mWake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    mThread = std::thread([this] { run(); });
}

ScriptedServer::Engine::~Engine() {
    stop();
    ::close(mWake);
}

void ScriptedServer::Engine::stop() {
    mStopping = true;
    {
        // Shut down first: a send under way blocks for as long as the client does not read.
        const std::lock_guard lock(mLock);
        for (const auto& client : mClients)
            if (client->descriptor >= 0) ::shutdown(client->descriptor, SHUT_RDWR);
    }
    wake();
    if (mThread.joinable()) mThread.join();
    mListener.reset();
    for (const auto& client : mClients)
        end(*client);
}

void ScriptedServer::Engine::run() {
    while (!mStopping) {
        std::vector<pollfd> descriptors = watched();
        if (::poll(descriptors.data(), descriptors.size(), -1) < 0) continue;
        std::uint64_t wakeUps = 0;
        if (descriptors[0].revents != 0) [[maybe_unused]]
            const ssize_t got = ::read(mWake, &wakeUps, sizeof wakeUps);
        if (mStopping) return;
        for (std::size_t i = 2; i < descriptors.size(); ++i)
            if (descriptors[i].revents != 0) read(i - 2);
        if (descriptors[1].revents != 0) accept();
    }
}

/// Poll ignores negative descriptors, so that places and clients correspond.
std::vector<pollfd> ScriptedServer::Engine::watched() const {
    const std::lock_guard lock(mLock);
    std::vector<pollfd> descriptors = {{mWake, POLLIN, 0}, {mListener.get(), POLLIN, 0}};
    for (const auto& client : mClients)
        descriptors.push_back({client->reads ? client->descriptor : -1, POLLIN, 0});
    return descriptors;
}

void ScriptedServer::Engine::accept() {
    const int descriptor = ::accept4(mListener.get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) return;
    auto client = std::make_unique<Client>();
    client->descriptor = descriptor;
    const std::lock_guard lock(mLock);
    mClients.push_back(std::move(client));
    mChanged.notify_all();
}

void ScriptedServer::Engine::read(std::size_t index) {
    Client& from = client(index);
    Bytes piece(PIECE);
    const ssize_t got = ::read(from.descriptor, piece.data(), piece.size());
    if (got <= 0) {
        end(from);
        return;
    }
    piece.resize(static_cast<std::size_t>(got));
    append(from.unparsed, piece);
    {
        const std::lock_guard lock(mLock);
        append(from.received, piece);
        from.pieces.push_back(piece.size());
        mChanged.notify_all();
    }
    for (const Request& request : parse(index, from.unparsed))
        serve(request);
}

/// Takes the complete messages off the front of `bytes`.
std::vector<Request> ScriptedServer::Engine::parse(std::size_t index, Bytes& bytes) {
    std::vector<Request> complete;
    while (bytes.size() >= sizeof(audio_param)) {
        Request request;
        request.client = index;
        std::memcpy(&request.header, bytes.data(), sizeof request.header);
        const std::size_t length = request.isRegistration() ? 0 : request.header.length;
        if (length > LONGEST_PAYLOAD || bytes.size() < sizeof(audio_param) + length) break;
        const auto payload = bytes.begin() + sizeof(audio_param);
        const auto end = payload + static_cast<std::ptrdiff_t>(length);
        request.payload.assign(payload, end);
        bytes.erase(bytes.begin(), end);
        complete.push_back(std::move(request));
    }
    return complete;
}

void ScriptedServer::Engine::serve(const Request& request) {
    Handler handler;
    {
        const std::lock_guard lock(mLock);
        mRequests.push_back(request);
        handler = handlerFor(request);
        mChanged.notify_all();
    }
    Answer answer = handler(request);
    if (answer.mHold == Answer::Hold::Body) {
        send(request.client, answer.head());
        answer = Answer::raw(answer.tail()).closing(answer.mClose);
        answer.held();
    }
    if (takePermit(request.client, answer)) deliver(request.client, answer);
}

ScriptedServer::Handler ScriptedServer::Engine::handlerFor(const Request& request) const {
    if (request.isRegistration()) return mRegistration;
    const auto own = mRules.find({request.header.type, request.function()});
    if (own != mRules.end()) return own->second;
    const auto any = mRules.find({std::nullopt, request.function()});
    return any != mRules.end() ? any->second : mOther;
}

/// Keeps an answer that has to wait for its release.
bool ScriptedServer::Engine::takePermit(std::size_t index, const Answer& answer) {
    Client& to = client(index);
    const std::lock_guard lock(mLock);
    if (answer.mHold == Answer::Hold::Nothing) return true;
    if (to.permits == 0) {
        to.held = answer;
        return false;
    }
    --to.permits;
    return true;
}

void ScriptedServer::Engine::deliver(std::size_t index, const Answer& answer) {
    Bytes bytes = answer.head();
    append(bytes, answer.tail());
    send(index, bytes);
    if (answer.mClose) close(index);
}

void ScriptedServer::Engine::release(std::size_t index) {
    Client& to = client(index);
    std::optional<Answer> answer;
    {
        const std::lock_guard lock(mLock);
        answer = std::exchange(to.held, std::nullopt);
        if (!answer) ++to.permits;
    }
    if (answer) deliver(index, *answer);
}

void ScriptedServer::Engine::send(std::size_t index, const Bytes& bytes) {
    Client& to = client(index);
    const std::lock_guard sending(to.sending);
    if (to.descriptor >= 0) sendBytes(to.descriptor, bytes);
}

/// The server's thread sees the end and closes the descriptor, which it may be polling.
void ScriptedServer::Engine::close(std::size_t index) {
    Client& to = client(index);
    const std::lock_guard lock(mLock);
    if (to.descriptor >= 0) ::shutdown(to.descriptor, SHUT_RDWR);
}

void ScriptedServer::Engine::end(Client& client) {
    const std::lock_guard sending(client.sending);
    const std::lock_guard lock(mLock);
    if (client.descriptor >= 0) ::close(std::exchange(client.descriptor, -1));
    mChanged.notify_all();
}

void ScriptedServer::Engine::setReading(std::size_t index, bool reads) {
    Client& to = client(index);
    {
        const std::lock_guard lock(mLock);
        to.reads = reads;
    }
    wake();
}

void ScriptedServer::Engine::wake() const {
    const std::uint64_t once = 1;
    [[maybe_unused]] const ssize_t written = ::write(mWake, &once, sizeof once);
}

ScriptedServer::Engine::Client& ScriptedServer::Engine::client(std::size_t index) const {
    const std::lock_guard lock(mLock);
    return *mClients.at(index);
}

void ScriptedServer::Engine::setRule(std::optional<std::uint32_t> type, std::uint32_t function,
                                     Handler handler) {
    const std::lock_guard lock(mLock);
    mRules[{type, function}] = std::move(handler);
}

void ScriptedServer::Engine::setOther(Handler handler) {
    const std::lock_guard lock(mLock);
    mOther = std::move(handler);
}

void ScriptedServer::Engine::setRegistration(Handler handler) {
    const std::lock_guard lock(mLock);
    mRegistration = std::move(handler);
}

// ---- ScriptedServer -----------------------------------------------------------------------------

namespace {

ScriptedServer::Predicate requestsOf(std::uint32_t function) {
    return [function](const Request& request) {
        return !request.isRegistration() && request.function() == function;
    };
}

}  // namespace

ScriptedServer::ScriptedServer(std::string path) : mEngine(std::make_unique<Engine>(path)) {}

ScriptedServer::~ScriptedServer() = default;

void ScriptedServer::on(std::uint32_t type, std::uint32_t function, Handler handler) {
    mEngine->setRule(type, function, std::move(handler));
}

void ScriptedServer::on(std::uint32_t function, Handler handler) {
    mEngine->setRule(std::nullopt, function, std::move(handler));
}

void ScriptedServer::onOther(Handler handler) {
    mEngine->setOther(std::move(handler));
}

void ScriptedServer::onRegistration(Handler handler) {
    mEngine->setRegistration(std::move(handler));
}

void ScriptedServer::release(std::size_t client) {
    mEngine->release(client);
}

void ScriptedServer::notify(std::uint32_t event, std::uint32_t param, std::size_t client) {
    send(frame(HEADER_NOTIFY, event, param), client);
}

void ScriptedServer::send(const Bytes& bytes, std::size_t client) {
    mEngine->send(client, bytes);
}

void ScriptedServer::close(std::size_t client) {
    mEngine->close(client);
}

void ScriptedServer::stop() {
    mEngine->stop();
}

void ScriptedServer::pauseReading(std::size_t client) {
    mEngine->setReading(client, false);
}

void ScriptedServer::resumeReading(std::size_t client) {
    mEngine->setReading(client, true);
}

std::size_t ScriptedServer::clients() const {
    return mEngine->look([](const Engine& engine) { return engine.mClients.size(); });
}

bool ScriptedServer::waitForClients(std::size_t count, std::chrono::milliseconds bound) const {
    return mEngine->waitUntil(
        bound, [&](const Engine& engine) { return engine.mClients.size() >= count; });
}

bool ScriptedServer::waitForEndOf(std::size_t client, std::chrono::milliseconds bound) const {
    return mEngine->waitUntil(bound, [&](const Engine& engine) {
        return client < engine.mClients.size() && engine.mClients[client]->descriptor < 0;
    });
}

std::vector<Request> ScriptedServer::requests() const {
    return mEngine->look([](const Engine& engine) { return engine.mRequests; });
}

std::vector<Request> ScriptedServer::requests(std::uint32_t function) const {
    std::vector<Request> all = requests();
    std::erase_if(all, std::not_fn(requestsOf(function)));
    return all;
}

std::vector<Request> ScriptedServer::requests(std::uint32_t type, std::uint32_t function) const {
    std::vector<Request> all = requests(function);
    std::erase_if(all, [&](const Request& request) { return request.header.type != type; });
    return all;
}

std::size_t ScriptedServer::count(const Predicate& predicate) const {
    return mEngine->look([&](const Engine& engine) { return engine.count(predicate); });
}

std::vector<std::uint32_t> ScriptedServer::functions() const {
    std::vector<std::uint32_t> ids;
    for (const Request& request : requests())
        if (!request.isRegistration()) ids.push_back(request.function());
    return ids;
}

bool ScriptedServer::waitForRequest(const Predicate& predicate, std::size_t times,
                                    std::chrono::milliseconds bound) const {
    return mEngine->waitUntil(
        bound, [&](const Engine& engine) { return engine.count(predicate) >= times; });
}

bool ScriptedServer::waitForRequest(std::uint32_t function, std::size_t times,
                                    std::chrono::milliseconds bound) const {
    return waitForRequest(requestsOf(function), times, bound);
}

Bytes ScriptedServer::received(std::size_t client) const {
    return mEngine->look(
        [&](const Engine& engine) { return engine.mClients.at(client)->received; });
}

std::vector<std::size_t> ScriptedServer::pieces(std::size_t client) const {
    return mEngine->look([&](const Engine& engine) { return engine.mClients.at(client)->pieces; });
}

Bytes ScriptedServer::frame(std::uint32_t headerId, std::uint32_t event, std::uint32_t param) {
    SocketFrameHeader header = {};
    header.magic = FRAME_MAGIC;
    header.headerId = headerId;
    header.event = event;
    header.sendTimeUs = AudioTime::now();
    header.param = param;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&header);
    return Bytes(bytes, bytes + sizeof header);
}

}  // namespace cabinaudio::test
