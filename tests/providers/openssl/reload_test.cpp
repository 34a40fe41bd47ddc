// The library as a host meets it: opened, used and closed again.
#include <dlfcn.h>
#include <malloc.h>

#include <thread>

#include "tests/providers/openssl/provider_calls.h"

namespace quorvanti::test {
namespace {

template <class Function>
Function* entry(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

void useOnce() {
    void* library = dlopen(QUORVANTI_PROVIDER, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
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
    EXPECT_EQ(dlclose(library), 0);
}

TEST(Reload, AHundredTimesInOneProcessWithoutGrowth) {
    for (int round = 0; round < 20; ++round)
        useOnce();
    const auto before = mallinfo2().uordblks;
    for (int round = 0; round < 100; ++round)
        useOnce();
    EXPECT_LT(mallinfo2().uordblks, before + 64 * 1024);
    EXPECT_EQ(dlopen(QUORVANTI_PROVIDER, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still in memory";
}

}  // namespace
}  // namespace quorvanti::test
