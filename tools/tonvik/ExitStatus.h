// What the tool exits with.
#pragma once

namespace tonvik {

constexpr int kExitSuccess = 0;
constexpr int kExitScriptError = 1;
constexpr int kExitUsage = 2;

}  // namespace tonvik
