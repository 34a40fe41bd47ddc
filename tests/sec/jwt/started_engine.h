// The token engine on a crypto double, released at the end of a scope.
#pragma once

#include "sec/jwt/jwt_engine.h"
#include "sec/kavsecu/kavsecu_set.h"
#include "tests/support/crypto_double/crypto_double.h"

namespace quorvanti::test {

class StartedEngine {
public:
    explicit StartedEngine(const char* variant = "double_full") : crypto(variant) {
        SsfLoadFunctions(kDlNoHandle, crypto.path().c_str(), table);
        code = JwtInitialize(&table);
    }
    ~StartedEngine() {
        JwtRelease();
        SsfUnloadFunctions(table);
    }
    StartedEngine(const StartedEngine&) = delete;
    StartedEngine& operator=(const StartedEngine&) = delete;

    CryptoDouble crypto;
    SsfFunctionTable table{
        .entryPoints = {}, .loaded = 0, .available = {}, .fipsMode = 0, .libraryHandle = kDlNoHandle};
    std::int32_t code = 0;
};

}  // namespace quorvanti::test
