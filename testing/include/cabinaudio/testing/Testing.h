// SPDX-License-Identifier: Apache-2.0
#pragma once

/// All headers of the kit.
#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Failure.h>
#include <cabinaudio/testing/Heard.h>
#include <cabinaudio/testing/Matchers.h>
#include <cabinaudio/testing/Program.h>
#include <cabinaudio/testing/Result.h>
#include <cabinaudio/testing/Scenario.h>
#include <cabinaudio/testing/Server.h>
#include <cabinaudio/testing/ServerOptions.h>
#include <cabinaudio/testing/ServerTest.h>
#include <cabinaudio/testing/Sound.h>
