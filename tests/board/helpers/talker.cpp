// SPDX-License-Identifier: Apache-2.0
// A client that knows nothing of the library nor of the recorder: it speaks to the server in every
// way that calls of the C library allow. Built plain, with sanitizers and for the target.
//   talker SOCKET TASK [ARGUMENT]
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t REGISTER = 196;
constexpr std::uint32_t CALL = 195;
constexpr std::uint32_t VOLUME_TYPE = 131;
constexpr std::size_t HEADER = 88;
constexpr std::size_t FRAME = 32;

using Bytes = std::vector<unsigned char>;

[[noreturn]] void fail(const char* what) {
    perror(what);
    exit(1);
}

void put(Bytes& bytes, std::size_t at, std::uint32_t value) {
    memcpy(bytes.data() + at, &value, sizeof value);
}

Bytes message(std::uint32_t command, std::uint32_t length, const char* name) {
    Bytes bytes(HEADER);
    put(bytes, 0, command);
    put(bytes, 4, VOLUME_TYPE);
    put(bytes, 12, length);
    strncpy(reinterpret_cast<char*>(bytes.data()) + 24, name, 63);
    return bytes;
}

/// A request of that function with `length` bytes of payload.
Bytes request(std::uint32_t function, std::uint32_t length) {
    Bytes bytes = message(CALL, length, "unkn");
    bytes.resize(HEADER + length, static_cast<unsigned char>(function));
    put(bytes, HEADER, function);
    return bytes;
}

int connectTo(const char* socketName) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::size_t length = strlen(socketName);
    memcpy(address.sun_path + 1, socketName, length);
    const int made = socket(AF_UNIX, SOCK_STREAM, 0);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    if (connect(made, reinterpret_cast<sockaddr*>(&address), size) != 0) fail("connect");
    return made;
}

void expect(bool holds, const char* what) {
    if (!holds) fail(what);
}

/// The header with one call and the body with another, as the library does.
void receiveReply(int connection) {
    unsigned char frame[FRAME];
    unsigned char body[256];
    expect(recv(connection, frame, sizeof frame, 0) == FRAME, "recv");
    expect(recv(connection, body, sizeof body, 0) > 0, "recv");
}

void sendWhole(int connection, const Bytes& bytes) {
    const auto sent = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    expect(sent == static_cast<ssize_t>(bytes.size()), "send");
}

int registerAs(const char* socketName, const char* name) {
    const int connection = connectTo(socketName);
    sendWhole(connection, message(REGISTER, 64, name));
    receiveReply(connection);
    return connection;
}

void ask(int connection, std::uint32_t function, std::uint32_t length) {
    sendWhole(connection, request(function, length));
    receiveReply(connection);
}

void sendInPieces(int connection, const Bytes& bytes, std::vector<std::size_t> pieces) {
    std::size_t at = 0;
    for (const std::size_t piece : pieces) {
        expect(send(connection, bytes.data() + at, piece, 0) == static_cast<ssize_t>(piece),
               "send");
        at += piece;
    }
    expect(at == bytes.size(), "pieces");
}

void sendGathered(int connection, Bytes bytes) {
    iovec parts[2] = {{bytes.data(), HEADER}, {bytes.data() + HEADER, bytes.size() - HEADER}};
    msghdr header = {};
    header.msg_iov = parts;
    header.msg_iovlen = 2;
    expect(sendmsg(connection, &header, 0) == static_cast<ssize_t>(bytes.size()), "sendmsg");
}

/// Frame and body with one call, into two buffers.
void receiveScattered(int connection) {
    unsigned char frame[FRAME];
    unsigned char body[256];
    unsigned char peeked[4];
    expect(recv(connection, peeked, sizeof peeked, MSG_PEEK) == sizeof peeked, "recv");
    iovec parts[2] = {{frame, sizeof frame}, {body, sizeof body}};
    msghdr header = {};
    header.msg_iov = parts;
    header.msg_iovlen = 2;
    expect(recvmsg(connection, &header, 0) > static_cast<ssize_t>(FRAME), "recvmsg");
}

void useEveryCall(const char* socketName) {
    const int connection = registerAs(socketName, "calls");
    sendInPieces(connection, request(1, 40), {3, 85, 1, 39});
    receiveReply(connection);
    sendGathered(connection, request(2, 8));
    receiveScattered(connection);
    const Bytes plain = request(3, 4);
    expect(sendto(connection, plain.data(), plain.size(), 0, nullptr, 0) > 0, "sendto");
    unsigned char all[FRAME + 256];
    expect(recvfrom(connection, all, 10, 0, nullptr, nullptr) == 10, "recvfrom");
    expect(recvfrom(connection, all, sizeof all, 0, nullptr, nullptr) > 0, "recvfrom");
    ask(connection, 4, 60000);
    close(connection);
}

void askOften(const char* socketName, const char* name, std::uint32_t times) {
    const int connection = registerAs(socketName, name);
    for (std::uint32_t i = 0; i < times; ++i)
        ask(connection, 100 + i, 4 + i % 32);
    close(connection);
}

/// Two threads with connections of their own, and a child of a fork with two: its parent's and one
/// of its own. It leaves without closing them.
void talkInParallel(const char* socketName) {
    const int shared = registerAs(socketName, "shared");
    std::thread first([=] { askOften(socketName, "first", 40); });
    std::thread second([=] { askOften(socketName, "second", 40); });
    first.join();
    second.join();
    const pid_t child = fork();
    if (child == 0) {
        askOften(socketName, "child", 5);
        ask(shared, 7, 4);
        _exit(0);
    }
    int status = 0;
    expect(waitpid(child, &status, 0) == child && status == 0, "child");
    ask(shared, 8, 4);
    close(shared);
}

/// Closes all descriptors and uses their numbers for a file of its own.
void closeAll(const char* socketName, const char* file) {
    for (int descriptor = 3; descriptor < 1024; ++descriptor)
        close(descriptor);
    const int own = open(file, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<int> copies;
    for (int descriptor = own + 1; descriptor < 300; ++descriptor)
        copies.push_back(dup(own));
    expect(write(own, "own", 3) == 3, "write");
    close(copies.back());  // for the connection
    askOften(socketName, "closer", 3);
    struct stat64 found;
    expect(fstat64(own, &found) == 0 && found.st_size == 3, "the file is not the program's own");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const char* socketName = argv[1];
    const std::string task = argv[2];
    printf("board: %s\n", dlsym(RTLD_DEFAULT, "cabinaudio_board_active") != nullptr ? "yes" : "no");
    fflush(stdout);
    if (task == "calls") useEveryCall(socketName);
    if (task == "parallel") talkInParallel(socketName);
    if (task == "often") askOften(socketName, "often", static_cast<std::uint32_t>(atoi(argv[3])));
    if (task == "close") closeAll(socketName, argv[3]);
    return 0;
}
