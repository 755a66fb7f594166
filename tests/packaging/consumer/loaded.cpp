// SPDX-License-Identifier: Apache-2.0
// Loads the library at run time.
#include <dlfcn.h>

#include <iostream>
#include <string>

int main() {
    void* library = ::dlopen("libsysconfreader.so", RTLD_NOW);
    if (library == nullptr) {
        std::cerr << ::dlerror() << '\n';
        return 1;
    }
    const auto instance = reinterpret_cast<void* (*)()>(
        ::dlsym(library, "_ZN11Quarncommon13SysConfReader8InstanceEv"));
    const auto wssPort = reinterpret_cast<int (*)(void*)>(
        ::dlsym(library, "_ZN11Quarncommon13SysConfReader10GetWssPortEv"));
    if (instance == nullptr || wssPort == nullptr) {
        std::cerr << ::dlerror() << '\n';
        return 1;
    }
    std::cout << wssPort(instance()) << '\n';
}
