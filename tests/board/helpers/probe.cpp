// SPDX-License-Identifier: Apache-2.0
// A program that knows nothing of the stand-in and tells what it finds. It is built plain, static,
// with sanitizers and for the target, preloaded into and linked.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace {

constexpr size_t PAGE = 4096;
constexpr char SERVER[] = "/tmp/as_internal_file";

int gFailures = 0;

void expect(bool holds, const char* what) {
    if (!holds) {
        printf("not so: %s (errno %d)\n", what, errno);
        ++gFailures;
    }
}

#ifdef PROBE_EARLY
// Runs before the C library knows the environment.
int gEarlyObject = 0;
int gEarlyError = 0;
void beforeConstructors(int argc, char** argv, char**) {
    if (argc > 1 && strcmp(argv[1], "early") == 0) {
        gEarlyObject = shm_open("early", O_RDWR | O_CREAT, 0600);
        gEarlyError = errno;
        close(open("/dev/null", O_RDWR));
    }
}
__attribute__((section(".preinit_array"), used)) void (*gPreinit)(int, char**,
                                                                  char**) = beforeConstructors;

int early() {
    const bool refused = gEarlyObject == -1 && gEarlyError == EINVAL;
    puts(refused ? "refused" : "shared with whom?");
    return 0;
}
#endif

// ---- Report: what a program can see of how it was started ---------------------------------------

void reportDescriptors() {
    DIR* directory = opendir("/proc/self/fd");
    std::string listed;
    while (const dirent* entry = readdir(directory)) {
        const int descriptor = atoi(entry->d_name);
        if (entry->d_name[0] != '.' && descriptor != dirfd(directory))
            listed += " " + std::to_string(descriptor);
    }
    closedir(directory);
    printf("descriptors:%s\n", listed.c_str());
}

void reportSignals() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        // Not "SigQ", which counts the signals of all the user's processes.
        for (const char* set : {"SigPnd", "ShdPnd", "SigBlk", "SigIgn", "SigCgt"}) {
            if (line.rfind(set, 0) == 0) printf("%s\n", line.c_str());
        }
    }
}

int report(const char* name) {
    reportDescriptors();
    reportSignals();
    const bool childless = waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
    printf("children: %s\n", childless ? "none" : "some");
    char directory[PAGE];
    printf("directory: %s\n", getcwd(directory, sizeof directory));
    printf("name: %s\n", name);
    printf("umask and parent: %o %d\n", umask(0), static_cast<int>(getppid()));
    for (char** variable = environ; *variable != nullptr; ++variable)
        printf("variable: %s\n", *variable);
    return 0;
}

// ---- Check: everything that is stood in for, once -----------------------------------------------

void checkDevices() {
    const int memory = open("/dev/mem", O_RDWR);
    expect(memory >= 0, "the memory device opens");
    expect(lseek(memory, 0, SEEK_END) == 0x7f000000, "it has the size of the board's memory");
    close(memory);
    const int cache = open64("/dev/cache", O_RDWR);
    const uint32_t chunk[2] = {0, 64};
    expect(ioctl(cache, 0x40084304, chunk) == 0, "the cache is invalidated");
    expect(ioctl(cache, 0x40084303, chunk) == 0, "the cache is cleaned");
    expect(ioctl(cache, 0x40084305, chunk) == -1 && errno == ENOTTY, "nothing else is accepted");
    close(cache);
}

void checkConfiguration() {
    const char* file = "/media/flash/nvm/as_server/audio_config";
    const int made = mkdir("/media/flash/nvm/as_server", 0700);
    expect(made == 0 || errno == EEXIST, "the directory can be made");
    std::ofstream(file) << "Log\n";
    std::string line;
    std::getline(std::ifstream(file) >> std::ws, line);
    expect(line == "Log", "streams reach the diagnostics file");
    FILE* stream = fopen(file, "r");
    expect(stream != nullptr, "so does stdio");
    if (stream != nullptr) fclose(stream);
}

void giveRealTimeUp() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_RTPRIO, &none);
    struct {
        uint32_t version = 0x20080522;
        int pid = 0;
    } header;
    uint32_t sets[6] = {};
    syscall(SYS_capset, &header, sets);
}

void* policyOfThisThread(void*) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(sched_getscheduler(0)));
}

void checkThreads() {
    giveRealTimeUp();
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    const sched_param priority{1};
    pthread_attr_setschedparam(&attributes, &priority);
    pthread_t thread;
    const int status = pthread_create(&thread, &attributes, policyOfThisThread, nullptr);
    expect(status == 0, "a real-time thread starts without the right to it");
    if (status == 0) {
        void* policy = nullptr;
        pthread_join(thread, &policy);
        expect(reinterpret_cast<intptr_t>(policy) == SCHED_OTHER, "with ordinary scheduling");
    }
    pthread_attr_destroy(&attributes);
}

int check() {
    expect(dlsym(RTLD_DEFAULT, "cabinaudio_board_active") != nullptr, "the stand-in is here");
    checkDevices();
    checkConfiguration();
    checkThreads();
    if (gFailures == 0) puts("ok");
    return gFailures == 0 ? 0 : 1;
}

// ---- Things that instances share or do not share ------------------------------------------------

unsigned char* mapMemory(off_t offset) {
    const int memory = open("/dev/mem", O_RDWR);
    void* mapped = mmap(nullptr, PAGE, PROT_READ | PROT_WRITE, MAP_SHARED, memory, offset);
    close(memory);
    return mapped == MAP_FAILED ? nullptr : static_cast<unsigned char*>(mapped);
}

int putMemory(const char* offset, const char* value) {
    unsigned char* page = mapMemory(strtol(offset, nullptr, 0));
    if (page == nullptr) return 1;
    *page = static_cast<unsigned char>(atoi(value));
    return 0;
}

int getMemory(const char* offset) {
    const unsigned char* page = mapMemory(strtol(offset, nullptr, 0));
    printf("%d\n", page == nullptr ? -1 : *page);
    return 0;
}

int makeObject(const char* name) {
    return shm_open(name, O_RDWR | O_CREAT, 0600) >= 0 ? 0 : 1;
}

int findObject(const char* name) {
    puts(shm_open(name, O_RDWR, 0) >= 0 ? "there" : "not there");
    return 0;
}

using UseAddress = int(int, const sockaddr*, socklen_t);

int useServerAddress(int descriptor, UseAddress* use) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path + 1, SERVER, sizeof SERVER - 1);
    const auto length = offsetof(sockaddr_un, sun_path) + sizeof SERVER;
    return use(descriptor, reinterpret_cast<const sockaddr*>(&address),
               static_cast<socklen_t>(length));
}

int serve() {
    const int server = socket(AF_UNIX, SOCK_STREAM, 0);
    const bool listening = useServerAddress(server, bind) == 0 && listen(server, 5) == 0;
    puts(listening ? "listening" : "taken");
    fflush(stdout);
    char end;
    while (listening && read(STDIN_FILENO, &end, 1) > 0) {
    }
    return 0;
}

int callServer() {
    const int client = socket(AF_UNIX, SOCK_STREAM, 0);
    puts(useServerAddress(client, connect) == 0 ? "connected" : "refused");
    return 0;
}

int printWords(int count, char** words) {
    for (int i = 0; i < count; ++i)
        printf("[%s]\n", words[i]);
    return 0;
}

int touch(const char* path) {
    return std::ofstream(path).good() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    const char* first = argc > 2 ? argv[2] : "";
    const char* second = argc > 3 ? argv[3] : "";
    if (task == "report") return report(argv[0]);
    if (task == "check") return check();
    if (task == "words") return printWords(argc - 2, argv + 2);
    if (task == "exit") return atoi(first);
    if (task == "raise") return raise(atoi(first));
    if (task == "pid") return printf("%d\n", static_cast<int>(getpid())) > 0 ? 0 : 1;
    if (task == "pause") return pause();
    if (task == "touch") return touch(first);
    if (task == "put-memory") return putMemory(first, second);
    if (task == "get-memory") return getMemory(first);
    if (task == "make-object") return makeObject(first);
    if (task == "find-object") return findObject(first);
    if (task == "serve") return serve();
    if (task == "call") return callServer();
#ifdef PROBE_EARLY
    if (task == "early") return early();
#endif
    fprintf(stderr, "probe: unknown task '%s'\n", task.c_str());
    return 99;
}
