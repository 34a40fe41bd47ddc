// The library as a host meets it: opened, used and closed again.
#include <thread>

#include "tests/providers/openssl/provider_calls.h"
#include "tests/support/process_memory.h"
#include "tests/support/shared_library.h"

namespace quorvanti::test {
namespace {

template <class Function>
Function* entry(void* library, const char* name) {
    return reinterpret_cast<Function*>(findInSharedLibrary(library, name));
}

void useOnce() {
    void* library = openSharedLibrary(QUORVANTI_PROVIDER);
    ASSERT_NE(library, nullptr);
    ASSERT_EQ(entry<decltype(kavcr_init)>(library, "kavcr_init")(), SSF_API_OK);
    const auto create = entry<decltype(crypt_hash_create)>(library, "crypt_hash_create");
    const auto release = entry<decltype(crypt_hash_release)>(library, "crypt_hash_release");
    void* hash = nullptr;
    EXPECT_EQ(create(4, &hash), SSF_API_OK);
    EXPECT_EQ(release(&hash), SSF_API_OK);
    // Another thread, which ends while the library is there, works too.
    std::thread([&] {
        void* other = nullptr;
        create(6, &other);
        release(&other);
    }).join();
    EXPECT_EQ(entry<decltype(kavcr_done)>(library, "kavcr_done")(), SSF_API_OK);
    EXPECT_TRUE(closeSharedLibrary(library));
}

TEST(Reload, AHundredTimesInOneProcessWithoutGrowth) {
    for (int round = 0; round < 20; ++round)
        useOnce();
    const auto before = processMemory().allocated;
    for (int round = 0; round < 100; ++round)
        useOnce();
    EXPECT_LT(processMemory().allocated, before + 64 * 1024);
    EXPECT_FALSE(isSharedLibraryLoaded(QUORVANTI_PROVIDER)) << "still in memory";
}

}  // namespace
}  // namespace quorvanti::test
