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

/// The dlopen calls for the event library since the start, in order, failed ones included.
std::vector<LibraryOpen> eventLibraryOpens();

/// From now on these calls fail, or succeed.
void failLibraryOpens(bool fail);
void failLibraryCloses(bool fail);

/// The number of dlclose calls for their handles, failed ones included.
int eventLibraryCloses();

} // namespace support
