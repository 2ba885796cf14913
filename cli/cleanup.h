// Temporary files that must not outlive the program: removed on every way
// out, an interrupt or a termination signal included.
#pragma once

#include <string>

namespace codebook::cli {

// Installs handlers for SIGINT, SIGTERM and SIGHUP that remove the
// registered files and then end the program as the signal would have, and
// removes them too when the program ends through quick_exit.
void InstallCleanupOnSignals();

// Registers a file for removal; returns a slot to release it with, or -1
// when every slot is taken (the file is then removed only by its owner).
int RegisterTemporaryFile(const std::string& path);
// Forgets a registered file (after it was renamed or removed).
void ReleaseTemporaryFile(int slot);

}  // namespace codebook::cli
