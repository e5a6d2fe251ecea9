// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/Board.h"
#include "devkit/server/Options.h"
#include "devkit/server/Server.h"
#include "devkit/server/base/ExitStatus.h"
#include "devkit/server/base/LibraryLog.h"
#include "devkit/server/base/Log.h"
#include "devkit/server/rings/MemoryFault.h"
#include "devkit/server/settings/StateFile.h"
#include "devkit/text/Output.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <variant>

namespace cabinaudio::server {
namespace {

std::string instanceText() {
    const std::string instance = cabinaudio_board_instance();
    return instance.empty() ? "" : " of instance \"" + instance + "\"";
}

/// Each client needs a descriptor.
void raiseDescriptorLimit() {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, 65536));
    setrlimit(RLIMIT_NOFILE, &limit);
}

void prepareProcess() {
    std::signal(SIGPIPE, SIG_IGN);
    raiseDescriptorLimit();
    captureLibraryLog();
    memory_fault::install();
}

/// @throws std::runtime_error when the streams' files could not be made there
void prepareStems(const std::string& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    // A path that exists and is no directory is not always an error of the call.
    if (!error && access(directory.c_str(), W_OK | X_OK) != 0)
        error = std::error_code(errno, std::generic_category());
    if (!error && !std::filesystem::is_directory(directory))
        error = std::make_error_code(std::errc::not_a_directory);
    if (error) throw std::runtime_error("--stems " + directory + ": " + error.message());
}

int run(int argc, const char* const* argv) {
    const auto parsed = parseOptions(argc, argv);
    if (const int* status = std::get_if<int>(&parsed)) return *status;
    const auto& options = std::get<Options>(parsed);
    log::setLevel(options.logLevel);
    // Set first: all names on this machine depend on the instance.
    if (!options.instance.empty()) {
        setenv(board::INSTANCE_VARIABLE, options.instance.c_str(), 1);
    } else if (cabinaudio_board_instance() == nullptr) {
        log::error("%s=%s is not an instance name", board::INSTANCE_VARIABLE,
                   getenv(board::INSTANCE_VARIABLE));
        return EXIT_USAGE;
    }
    prepareProcess();
    // Checked first: a server that cannot keep its settings must not accept clients.
    if (!options.stateFile.empty()) StateFile::check(options.stateFile);
    if (!options.stemDirectory.empty()) prepareStems(options.stemDirectory);
    Server server(options);
    server.run();
    return server.hasTimeErrors() ? EXIT_TIME : EXIT_DONE;
}

}  // namespace
}  // namespace cabinaudio::server

int main(int argc, char** argv) {
    using namespace cabinaudio::server;
    namespace text = cabinaudio::text;
    try {
        const int status = run(argc, argv);
        const std::string fault = text::outputFault();  // of help, version and trace
        if (fault.empty()) return status;
        log::error("%s", fault.c_str());
    } catch (const std::system_error& error) {
        if (error.code().value() == EADDRINUSE)
            log::error("there is a server%s already", instanceText().c_str());
        else
            log::error("%s", error.what());
    } catch (const std::exception& error) {
        log::error("%s", error.what());
    }
    return EXIT_FAILED;
}
