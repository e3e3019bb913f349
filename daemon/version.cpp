// SPDX-License-Identifier: MIT
namespace {

// For `strings`: the daemon takes no arguments, so nothing can ask it which version it is. Nothing
// in the program reads this either; the compiler and the linker are told to keep it all the same.
[[gnu::used, gnu::retain]] constexpr char version[] = "nvd " NVD_VERSION;

}  // namespace
