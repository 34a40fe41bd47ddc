// Key stores in memory under names that the library invents.
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "providers/openssl/boundary.h"
#include "providers/openssl/key_store.h"

namespace quorvanti::provider {
namespace {

// The names that callers hold pointers to. Allocated, so that nothing is destroyed when the process ends.
std::mutex namesMutex;
std::set<std::string, std::less<>>* names = nullptr;
long lastNumber = 0;

void forgetNames() {
    const std::lock_guard lock(namesMutex);
    delete names;
    names = nullptr;
}

char* newName() {
    const std::lock_guard lock(namesMutex);
    if (names == nullptr)
        names = new std::set<std::string, std::less<>>;
    const auto place = names->insert("<memory PSE " + std::to_string(++lastNumber) + ">").first;
    // Callers get the text to read, in a type that is not const.
    return const_cast<char*>(place->c_str());
}

bool isName(std::string_view name) {
    const std::lock_guard lock(namesMutex);
    return names != nullptr && names->find(name) != names->end();
}

void dropName(std::string_view name) {
    const std::lock_guard lock(namesMutex);
    if (names == nullptr)
        return;
    if (const auto place = names->find(name); place != names->end())
        names->erase(place);
}

std::int32_t unknownName(std::string_view name) {
    return fail(SSF_API_UNKNOWN_PROFILE, "There is no key store in memory of the name \"" + std::string(name) + "\".");
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t kav_create_memory_PSE(char** name) {
    if (name == nullptr)
        return invalidArguments("kav_create_memory_PSE");
    *name = nullptr;
    return boundary([&] {
        char* made = newName();
        atLibraryStop(forgetNames);
        const std::int32_t result = registerMemoryKeyStore(made, {});
        if (result != SSF_API_OK)
            dropName(made);
        else
            *name = made;
        return result;
    });
}

int32_t kav_load_memory_PSE(const char* name, const uint8_t* image, int32_t imageLength) {
    if (name == nullptr || image == nullptr || imageLength < 0)
        return invalidArguments("kav_load_memory_PSE");
    return boundary([&] {
        if (!isName(name))
            return unknownName(name);
        if (imageLength == 0)
            return fail(SSF_API_NODATA, "The key store to be loaded into memory is empty.");
        return registerMemoryKeyStore(name, bytesOf(image, imageLength));
    });
}

int32_t kav_delete_memory_PSE(const char* name) {
    if (name == nullptr)
        return invalidArguments("kav_delete_memory_PSE");
    return boundary([&] {
        if (!isName(name))
            return unknownName(name);
        removeMemoryKeyStore(name);
        dropName(name);
        return SSF_API_OK;
    });
}
