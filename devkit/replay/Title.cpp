// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Title.h"

#include "devkit/text/Printable.h"
#include "devkit/trace/ConnectType.h"
#include "devkit/trace/WireFields.h"

namespace cabinaudio::replay {

std::string titleOf(std::uint32_t type, const std::string& name) {
    return trace::connectTypeName(static_cast<audio_connect_type>(type)) + " \"" +
           text::printableInQuotes(name) + '"';
}

std::string operationName(std::uint32_t type, std::uint32_t function) {
    const trace::WireOperation* const operation = trace::findOperation(type, function);
    return operation != nullptr ? operation->name : "function " + std::to_string(function);
}

}  // namespace cabinaudio::replay
