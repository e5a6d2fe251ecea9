// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Result.h"

namespace cabinaudio::replay {

std::string Difference::text() const {
    std::string text = record != 0 ? "record " + std::to_string(record) + ": " : "";
    if (connection != 0) text += "connection " + std::to_string(connection);
    if (!client.empty()) text += connection != 0 ? " (" + client + ")" : client;
    text += ": " + operation;
    if (!field.empty()) text += ": " + field;
    return text + ": recorded " + recorded + ", got " + got;
}

}  // namespace cabinaudio::replay
