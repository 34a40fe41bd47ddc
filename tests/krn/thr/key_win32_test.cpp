// Thread keys on a system where nobody has to tell the library that a thread ends, whoever made the thread.
#include "krn/thr/thr.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace quorvanti {
namespace {

int destroyed = 0;
void countDestroyed(void* value) {
    destroyed += *static_cast<int*>(value);
}

struct Place {
    ThrKey key = kThrNoKeyYet;
    int value = 0;
    HANDLE stored = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    HANDLE mayEnd = CreateEventA(nullptr, TRUE, FALSE, nullptr);
};

DWORD WINAPI storeAndWait(LPVOID argument) {
    auto* const place = static_cast<Place*>(argument);
    ThrKeySet(place->key, &place->value);
    SetEvent(place->stored);
    WaitForSingleObject(place->mayEnd, INFINITE);
    return 0;
}

class ThrKeyWin32 : public testing::Test {
protected:
    ThrKeyWin32() {
        destroyed = 0;
        EXPECT_EQ(ThrKeyCreate(place_.key, &countDestroyed), 0);
        place_.value = 7;
        thread_ = CreateThread(nullptr, 0, &storeAndWait, &place_, 0, nullptr);
        WaitForSingleObject(place_.stored, INFINITE);
    }
    void end() {
        SetEvent(place_.mayEnd);
        WaitForSingleObject(thread_, INFINITE);
    }
    ~ThrKeyWin32() override { CloseHandle(thread_); }

    Place place_;
    HANDLE thread_;
};

TEST_F(ThrKeyWin32, AThreadThatTheSystemMadeHandsItsValueOverWhenItEnds) {
    EXPECT_EQ(destroyed, 0);
    end();
    EXPECT_EQ(destroyed, 7);
}

TEST_F(ThrKeyWin32, ALibraryThatLeavesTakesTheValuesOfThreadsThatStay) {
    ThrKeysGiveBack();
    EXPECT_EQ(destroyed, 7);
    end();
    EXPECT_EQ(destroyed, 7) << "there is nothing left that the thread's end could call";
}

TEST_F(ThrKeyWin32, AKeyCanBeMadeAnewAfterwards) {
    ThrKeysGiveBack();
    EXPECT_EQ(ThrKeyCreate(place_.key, &countDestroyed), 0) << "the old index is nobody's";
    end();
}

}  // namespace
}  // namespace quorvanti
