// SPDX-License-Identifier: Apache-2.0
#include <SysConfReader.h>
#include <SysConfReader_i.h>

#include <iostream>

int main() {
    auto* reader = Quarncommon::SysConfReader::Instance();
    std::cout << Quarncommon::SysConfReader_i::Instance()->GetProductName() << '\n'
              << reader->getLocalServiceIP() << '\n'
              << reader->getLocalSouthIP() << '\n';
    Quarncommon::SysConfReader::Destory();
}
