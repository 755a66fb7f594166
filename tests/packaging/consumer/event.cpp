// SPDX-License-Identifier: Apache-2.0
#include <EventConsumerCB.h>

int main() {
    EventConsumerCBFini();
}
