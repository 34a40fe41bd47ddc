// The key store, the content and the signatures that the issuing systems of this target made over it.
#pragma once

#include <array>
#include <string_view>

namespace quorvanti::fuzz {

using namespace std::string_view_literals;

inline constexpr std::string_view content = "the ticket";

inline constexpr std::string_view trustedPem =
    "-----BEGIN CERTIFICATE-----\n"
    "MIIDEzCCAfugAwIBAgIUDtGxD0pYkrmP7i/XUrT3lbpAgQwwDQYJKoZIhvcNAQEL\n"
    "BQAwGTEXMBUGA1UEAwwOaXNzdWluZyBzeXN0ZW0wHhcNMjYxMTIwMjExNTA3WhcN\n"
    "MzYxMTE3MjExNTA3WjAZMRcwFQYDVQQDDA5pc3N1aW5nIHN5c3RlbTCCASIwDQYJ\n"
    "KoZIhvcNAQEBBQADggEPADCCAQoCggEBAOGb1FXB9Ex4WEqONJww54tGVbGpZ6FI\n"
    "gOGAJzpPG0c7Z7x9cjyP2aW94AxUgYkLASkQhUxLXT0FQeBh2dFDhL/h3XwsiZpG\n"
    "L3yBBRCZdPMDK2WKWv1n//s0hXwAtRG4AH6u2+myTn1L6ye8GUwPVIvZl3+wcb99\n"
    "XjcsWAztkT0NXSkQxt6JC67UouuwwW1Q8gX+StAc5yZjNzZjqsEpm5v6WaJO8nNk\n"
    "eHXXzlpxCzSNG11+TyVyCquTfnkBaTFx1T9n7wXtMxR0ukGKhFYawVPpZP4HAZih\n"
    "YGVeIZZNy5bJb89fuBZ8QaKV0JSrX4lJUCXTWxNG/8G9dPS64Q/o94sCAwEAAaNT\n"
    "MFEwHQYDVR0OBBYEFAFFhWEw6dPkk+3DLiR+4Zie8QlLMB8GA1UdIwQYMBaAFAFF\n"
    "hWEw6dPkk+3DLiR+4Zie8QlLMA8GA1UdEwEB/wQFMAMBAf8wDQYJKoZIhvcNAQEL\n"
    "BQADggEBAJSyFVGdRXYl/cRLilE64fScYcl3Irfy/KYam2k264fR7Uw3PT3F0tXz\n"
    "j1cc03w6Y15dEusVWi2mLp/R3v48Kchnc0vo/GgeSUvRVN0sJLDHMRRYby4Iiynw\n"
    "w5QTQ3IhLVquH+ZhYLgIVvewqWwwPY8AyGTich3LWyavgLfWJ4QJJHNvkjQXyUss\n"
    "rP50TRNg0mZNEYzCp2iuob33oT6Q/xr1Kiw+7HFdWQHwmztMDr62ql08ri1jLfYB\n"
    "lv9VeVCvfpN2EBrFO35NmcFPjPrqOxe66/x61Be+pjkMyGotG3i6hDkKAQdedb6U\n"
    "cpbeQd7SD8+d0dOOUIYftB3M+x0GBRo=\n"
    "-----END CERTIFICATE-----\n"
    "-----BEGIN CERTIFICATE-----\n"
    "MIIBhzCCAS2gAwIBAgIUZaT+Mg+5a8AIGtP0p7e07WYyhMAwCgYIKoZIzj0EAwIw\n"
    "GTEXMBUGA1UEAwwOaXNzdWluZyBzeXN0ZW0wHhcNMjYxMTIwMjExNTA3WhcNMzYx\n"
    "MTE3MjExNTA3WjAZMRcwFQYDVQQDDA5pc3N1aW5nIHN5c3RlbTBZMBMGByqGSM49\n"
    "AgEGCCqGSM49AwEHA0IABNsh49CzeaSW3Cuvld2ZrLY35lDoiSn7+9W1nKObGKRY\n"
    "4Yj1K4V+7BUNaSA5ZHSAqj5ZVWZ6pyE1E9786eWzVuijUzBRMB0GA1UdDgQWBBTT\n"
    "OVuiDIEiR2VVgf8ILKLe2gQaITAfBgNVHSMEGDAWgBTTOVuiDIEiR2VVgf8ILKLe\n"
    "2gQaITAPBgNVHRMBAf8EBTADAQH/MAoGCCqGSM49BAMCA0gAMEUCIQDfaUm/Hobj\n"
    "xSJN/zkZ3Vc4h6KVC99lEU6j+EZwL1yT6QIgZBi+D/DBaz21cbKR+LSWd5jLMQ1p\n"
    "Q/uRnQrBI+AihcA=\n"
    "-----END CERTIFICATE-----\n"
    "-----BEGIN CERTIFICATE-----\n"
    "MIIEbDCCBBqgAwIBAgIUDmB+t9/I3qJ+fohw8FePRX9Jym4wCwYJYIZIAWUDBAMC\n"
    "MBkxFzAVBgNVBAMMDmlzc3Vpbmcgc3lzdGVtMB4XDTI2MTEyMDIxMTUwN1oXDTM2\n"
    "MTExNzIxMTUwN1owGTEXMBUGA1UEAwwOaXNzdWluZyBzeXN0ZW0wggNDMIICNgYH\n"
    "KoZIzjgEATCCAikCggEBAMo3xkxosplPhdveAUV2rtOk9XppI0GiUneHtZ4Le1sn\n"
    "CtjvBQLTXTKl/weVNQbcFOuSo6GVIuTEGg9jxtPNmietuioN5iseLWJVB/W54HvK\n"
    "r1PE7Oyznk15tlXNc/0x8WKVf5to4mhATJ9HayQHY2PrKuwshXZoqqOuQncAAW59\n"
    "smukQYIRkOthGWcEwEyaUCFCydJ54DBP1BYswexTesQ+vxtzQ1UyyfhfbhKdK4kN\n"
    "NwG5aPBl53NwxkHk1zYms3Ru3GT8RJBoO/eJ+07PcnegLqmHHL5obAYYwBKIS9Tk\n"
    "dOBGmWrP9z8/CqRDq3WKLH3F56BbOkorUuSchljrijUCHQCNC9QfxZHzTW1WXAou\n"
    "X2s9L6UUEBHGRHDshCfrAoIBAQCE/im0zywBppVgU7CjMZIXg27hj7E1ce0GL/gn\n"
    "TGxLk/ap3AidYSFq3RrA9cGQp0DHh82FlRKYc9p6USdnUuZOWPXitloiHulnv7la\n"
    "Uyd0HstTEEC81/TMTa2PvsVmFWYNC6aNu5CBdCbNu1lzGDkPHwPj4eIov1CoDZQZ\n"
    "csPL9iKFV25mnWyGReGF+3o8ggBbKWET44lSr9tcURKRNFf97fw6x3RsB5porIb0\n"
    "N2Lq5+sD1o09+NxbF3XMsAyPNxdIR0vj5vZ8B17nY1dE0M25XJqk45yJBOguEV8m\n"
    "LiTLJlQHMYIaTOHeMbRiNDmPQIF7BA7Ob2ranwzlThSAlF/PA4IBBQACggEAY9L3\n"
    "YpkCUtG3yFHR/wcATJcLoGbw2XD1flyRNBW00Jp3zSnL2hze2zEaE/wAUl4MxOq3\n"
    "1IcvPYDXMpuNLBPvUjq9wR9zMOB/RKzK4iOOhb1wY1bu2unSRx8Evbl+WfZVAKnC\n"
    "J31P5D0CTrpOqdxEPaRAp9X1+uBgOKqF9aQvylTWmyXOecQXTGd7/ygOPwb8HVpm\n"
    "Vv2pG6TlbJJ0bsM5tnlr1mbXyErE+l5NluZCwl4vdSaeYWX3W34dJTtzhFJs1eDe\n"
    "9E4PRGzTmlB7LWap1mWkJRhuEf2ck0skDh6TfPCxubpBcTY4a2ojRPwKHeDWM8ZY\n"
    "OZTS5hYq0/lc0ItyhqNTMFEwHQYDVR0OBBYEFE+7ddB23QaOwC1zePne4LwR+gPW\n"
    "MB8GA1UdIwQYMBaAFE+7ddB23QaOwC1zePne4LwR+gPWMA8GA1UdEwEB/wQFMAMB\n"
    "Af8wCwYJYIZIAWUDBAMCAz8AMDwCHCAdMRagvNL16odwd6vNDjabFlDJSBGoqdDh\n"
    "pqICHDuh9/hi4DG69tiWVbiMHqyIrjPMPmVfbFF6pgM=\n"
    "-----END CERTIFICATE-----\n";

// The last bytes of each signature value: nobody else can make the rest of it.
// clang-format off
inline constexpr std::array signatureValues{
    "\xab\xb9\x8e\xe6\x40\x35\xdc\xce\xbc\x1f\x95\xab\xe9\x44\x89\x7c\x90\xcb\x01\x48\x62\x63\xb2\x20"sv,
    "\x13\xcd\x13\x39\x69\xf3\x91\x18\x15\x3f\xef\x7e\xf8\x52\xc1\xc7\xf4\x2d\x51\xf5\x8e\x9b\xa8\x85"sv,
    "\x09\x73\xfc\x59\x53\x43\xaa\xc8\x3a\x66\xee\x2e\x33\xb3\x86\x2e\x51\xad\x7c\xda\xba\xca\x79\x34"sv,
    "\xca\xf9\xb5\x1e\xd9\xd1\xaf\x4d\x42\xea\x74\x51\xde\x63\xb4\xab\x6a\x5e\x77\xb0\x7a\x7a\xd6\x1f"sv,
    "\x54\x17\x5a\xca\x05\x00\x74\x47\xad\xea\x20\x66\xbb\xc1\x0c\xc7\x48\xb4\xc0\x95\x55\x60\x1a\x8e"sv,
    "\x6c\x8d\x20\x84\x82\x34\xd2\xee\x69\x64\x06\x44\x16\xb7\xfb\x4e\xf7\x94\x2e\xa0\x66\x78\xc4\xbe"sv,
    "\x6c\x8d\x20\x84\x82\x34\xd2\xee\x69\x64\x06\x44\x16\xb7\xfb\x4e\xf7\x94\x2e\xa0\x66\x78\xc4\xbe"sv,
};
// clang-format on

}  // namespace quorvanti::fuzz
