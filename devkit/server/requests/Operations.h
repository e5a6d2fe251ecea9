// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/requests/Operation.h"

#include <span>

/// The tables of operations, one per kind of connection. A stream's request concerns the one stream
/// of the client that sends it.
namespace cabinaudio::server {

std::span<const Operation> trackOperations();
std::span<const Operation> sinkOperations();
std::span<const Operation> captureOperations();
std::span<const Operation> uplinkOperations();

std::span<const Operation> appOperations();
std::span<const Operation> mixerOperations();
std::span<const Operation> recordControlOperations();
std::span<const Operation> sourceOperations();
std::span<const Operation> versionOperations();
std::span<const Operation> volumeOperations();

}  // namespace cabinaudio::server
