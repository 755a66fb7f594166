#pragma once

namespace Quarncommon {

/// Stands in for the library's header of that name: no writer has its turn, and nothing is asked.
class WriterTurns {
public:
    void letOneWriterPass() {}

    class Wait {
    public:
        explicit Wait(WriterTurns& /*turns*/) {}
    };

    static void beginReadingTwice() {}
    static void endReadingTwice() {}
    void beginWriting() {}
    void endWriting() {}
    bool writing() const { return false; }
    static bool lockHeldHere() { return false; }
    void forgetOtherThreads() {}
};

template <typename Class>
inline constinit WriterTurns turnsOf{};

} // namespace Quarncommon
