// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// Records how the library under test opens and closes its event library: LibraryCalls.cpp replaces
/// dlopen and dlclose in the test executable.
namespace support {

struct LibraryOpen {
    std::string name;
    int flags = 0;
    bool opened = false;
};

/// The opens of the event library in order, failed ones included.
std::vector<LibraryOpen> eventLibraryOpens();

void failLibraryOpens(bool fail);
void failLibraryCloses(bool fail);

/// The number of closes, failed ones included.
int eventLibraryCloses();

} // namespace support
