// Dynamic loading of libraries through a table of 64 small integer handles; a library loaded twice is shared and
// counted. The table has no lock of its own: callers hold the crypto lock.
#pragma once

#include <cstdint>

namespace quorvanti {

inline constexpr std::int32_t kDlOk = 0;
inline constexpr std::int32_t kDlNoAccess = -2;
inline constexpr std::int32_t kDlInvalid = -3;
inline constexpr std::int32_t kDlNoFreeHandle = -4;
inline constexpr std::int32_t kDlUnloadFailed = -5;
inline constexpr std::int32_t kDlNoHandle = -1;

using DlFunction = void (*)();

// What a load says in the trace. A probe says nothing: that a library is not there is no error then.
enum class DlReport { everything, nothing };

// -2 no name, an empty one, or the load failed; -3 name too long; -4 no free entry. The handle is -1 on failure.
std::int32_t DlLoadLib(const char* name, std::int32_t& handle, DlReport report = DlReport::everything);
// -2 not found, -3 invalid handle. The function is null on failure.
std::int32_t DlLoadFunc(std::int32_t handle, const char* name, DlFunction& function);
// -3 invalid handle, -5 the system refused. Sets the handle to -1 on success.
std::int32_t DlUnloadLib(std::int32_t& handle);

}  // namespace quorvanti
