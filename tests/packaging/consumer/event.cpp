#include <EventConsumerCB.h>

int main() {
    EventConsumerCBFini();
}
