// SPDX-License-Identifier: Apache-2.0
// Not under sanitizers, which do not work under strace.

#include "etcd/Transport.h"

#include "support/TestDirectory.h"
#include "sysconfsync/Sync.h"

#include <gmock/gmock.h>

namespace {

using namespace support;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using SyncTransport = EtcdTest;

TEST_F(SyncTransport, AuthorityOfTheUser_IsTheOnlyOneThatIsTrusted) {
    const Etcd etcd({.tls = true});
    const sysconfsync::Connection connection = etcd.connection();
    const std::string trace = testDirectory() / "trace";
    const std::string another = testDirectory() / "another.pem";
    ASSERT_EQ(Command("/usr/bin/openssl", {"req", "-x509", "-key", connection.key, "-subj",
                                           "/CN=another", "-out", another})
                  .run()
                  .exitStatus,
              0);
    const CommandResult refused =
        Command("/usr/bin/strace", {"-f", "-e", "trace=%file", "-o", trace, SYSCONFSYNC, "status",
                                    "--endpoints", etcd.endpoints(), "--cacert", another, "--cert",
                                    connection.certificate, "--key", connection.key})
            .run();
    EXPECT_EQ(refused.exitStatus, 3) << refused.errors;
    EXPECT_THAT(refused.errors, HasSubstr("certificate"));
    // The authorities of the system are searched by the names of their files.
    EXPECT_THAT(readText(trace), AllOf(HasSubstr(another), Not(HasSubstr("/etc/ssl/certs/"))));
}

} // namespace
