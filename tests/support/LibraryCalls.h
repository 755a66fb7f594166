// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// How the library under test opens and closes its event library, watched from outside: the test
/// executable defines dlopen and dlclose itself, so this header goes with LibraryCalls.cpp linked
/// in.
namespace support {

struct LibraryOpen {
    std::string name;
    int flags = 0;
    bool opened = false;
};

/// The dlopen calls for the event library since the start, in order, whether they succeeded or
/// not.
std::vector<LibraryOpen> eventLibraryOpens();

/// From now on every such call fails, as it does when memory runs out; false lets them through.
void failLibraryOpens(bool fail);

/// From now on no handle of the event library can be closed; false lets them be.
void failLibraryCloses(bool fail);

/// How many of the handles that they gave were to be closed, whether they were or not.
int eventLibraryCloses();

} // namespace support
