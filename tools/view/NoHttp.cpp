// SPDX-License-Identifier: Apache-2.0
// Of builds without cpp-httplib.
#include "tools/Failure.h"
#include "tools/view/HttpServer.h"

namespace cabinaudio::tool::view {

class HttpServer::Implementation {};

HttpServer::HttpServer(int, Setter, MakeEvents) {
    throw Failure("this build serves no page: it was made without cpp-httplib; --export works");
}

HttpServer::~HttpServer() = default;

std::string HttpServer::address() const {
    return "";
}

int HttpServer::port() const {
    return 0;
}

}  // namespace cabinaudio::tool::view
