# What a cross-build for Windows does not find installed, where find_package() finds it: libcrypto and GoogleTest are built
# from Debian's sources, and of the host's headers only those of two header-only libraries are shown to the compiler.
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/windows-openssl
  OUTPUT_VARIABLE windows_openssl OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(QUORVANTI_OPENSSL_COMMAND ${windows_openssl}/bin/openssl.exe)
set(QUORVANTI_OPENSSL_CONFIGURATION ${windows_openssl}/bin/openssl.cnf)
file(STRINGS ${windows_openssl}/include/openssl/opensslv.h openssl_version REGEX "OPENSSL_VERSION_STR")
string(REGEX MATCH "[0-9.]+" openssl_version "${openssl_version}")
file(CONFIGURE OUTPUT ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/openssl-config-version.cmake @ONLY CONTENT [[
set(PACKAGE_VERSION @openssl_version@)
if(PACKAGE_VERSION VERSION_GREATER_EQUAL PACKAGE_FIND_VERSION)
  set(PACKAGE_VERSION_COMPATIBLE TRUE)
endif()
]])
file(CONFIGURE OUTPUT ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/openssl-config.cmake @ONLY CONTENT [[
if(NOT TARGET OpenSSL::Crypto)
  add_library(OpenSSL::Crypto STATIC IMPORTED)
  set_target_properties(OpenSSL::Crypto PROPERTIES IMPORTED_LOCATION @windows_openssl@/lib/libcrypto.a)
  target_include_directories(OpenSSL::Crypto INTERFACE @windows_openssl@/include)
  target_link_libraries(OpenSSL::Crypto INTERFACE ws2_32 crypt32)
endif()
]])

set(host_headers ${PROJECT_BINARY_DIR}/host_headers)
function(quorvanti_host_headers package directory)
  find_path(found_in ${directory} PATHS /usr/include /usr/local/include
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH NO_CACHE REQUIRED)
  file(MAKE_DIRECTORY ${host_headers})
  file(CREATE_LINK ${found_in}/${directory} ${host_headers}/${directory} SYMBOLIC)
  string(TOLOWER ${package} file)
  file(CONFIGURE OUTPUT ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/${file}-config.cmake @ONLY CONTENT [[
if(NOT TARGET @package@::@package@)
  add_library(@package@::@package@ INTERFACE IMPORTED)
  target_include_directories(@package@::@package@ INTERFACE @host_headers@)
endif()
]])
endfunction()
quorvanti_host_headers(CLI11 CLI)
quorvanti_host_headers(nlohmann_json nlohmann)

# The programs tell what tests they have when the tests are run, not when they are built.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
include(FetchContent)
set(INSTALL_GTEST OFF)
FetchContent_Declare(GTest SOURCE_DIR /usr/src/googletest OVERRIDE_FIND_PACKAGE)
