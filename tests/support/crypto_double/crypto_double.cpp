#include "tests/support/crypto_double/crypto_double.h"

#include <stdexcept>

namespace quorvanti::test {

CryptoDouble::CryptoDouble(std::string_view nameOrPath)
    : path_(nameOrPath.find_first_of("/\\") == std::string_view::npos ? pathOf(nameOrPath) : std::string(nameOrPath)),
      library_(openSharedLibrary(path_.c_str())) {
    if (library_ == nullptr) {
        throw std::runtime_error("no crypto double " + path_);
    }
    const auto getControl =
        reinterpret_cast<DoubleControl* (*)()>(findInSharedLibrary(library_, "crypto_double_control"));
    const auto getOverlappingCalls =
        reinterpret_cast<std::atomic<int>* (*)()>(findInSharedLibrary(library_, "crypto_double_overlapping_calls"));
    if (getControl == nullptr || getOverlappingCalls == nullptr) {
        closeSharedLibrary(library_);
        throw std::runtime_error("not a crypto double: " + path_);
    }
    control_ = getControl();
    overlappingCalls_ = getOverlappingCalls();
    reset();
}

CryptoDouble::~CryptoDouble() {
    closeSharedLibrary(library_);
}

std::string CryptoDouble::pathOf(std::string_view name) {
    std::string path(QUORVANTI_CRYPTO_DOUBLE_DIRECTORY "/");
    path += name;
    return path + QUORVANTI_CRYPTO_DOUBLE_SUFFIX;
}

void CryptoDouble::reset() {
    auto handOut = control_->handOut;
    *control_ = DoubleControl{};
    control_->handOut = std::move(handOut);
    *overlappingCalls_ = 0;
}

int CryptoDouble::calls(const std::string& function) const {
    const auto found = control_->functions.find(function);
    return found == control_->functions.end() ? 0 : found->second.calls;
}

std::string CryptoDouble::argument(const std::string& function, const std::string& parameter) const {
    const auto found = control_->functions.find(function);
    if (found == control_->functions.end() || !found->second.arguments.contains(parameter)) {
        return {};
    }
    return found->second.arguments.at(parameter);
}

}  // namespace quorvanti::test
