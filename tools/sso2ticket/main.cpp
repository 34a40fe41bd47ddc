#include "tools/sso2ticket/exit_code.h"
#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/own_libcrypto.h"
#include "tools/sso2ticket/program.h"

#include <exception>
#include <iostream>

using namespace quorvanti;

int main(int argc, char** argv) {
    prepareLibcrypto();
    try {
        return static_cast<int>(runProgram(argc, argv, QUORVANTI_VERSION));
    } catch (const Failure& failure) {
        std::cerr << "sso2ticket: " << failure.what() << '\n';
        return static_cast<int>(failure.exit());
    } catch (const std::exception& error) {
        std::cerr << "sso2ticket: " << error.what() << '\n';
        return static_cast<int>(ExitCode::configuration);
    }
}
