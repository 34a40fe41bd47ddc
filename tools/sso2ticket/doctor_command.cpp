#include "tools/sso2ticket/doctor_command.h"

#include "tools/sso2ticket/certificate_info.h"
#include "tools/sso2ticket/environment_override.h"
#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/key_store_file.h"
#include "tools/sso2ticket/library_session.h"
#include "tools/sso2ticket/loaded_library.h"
#include "tools/sso2ticket/output.h"

#include <quorvanti/ssf.h>
#include <quorvanti/voraksso.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <ostream>
#include <sstream>

namespace quorvanti {

namespace {

constexpr std::int64_t warnDays = 30;
constexpr std::int64_t releaseTime = 1704067200;  // 2024-01-01: a clock before it is wrong

constexpr const char* variables[] = {
    "KAV_EXT_TRC", "KAV_EXT_TRL",      "KAV_EXT_CODEPAGE", "KAVSYSTEMNAME", "KAVSYSTEMCLIENT", "SSF_LIB",
    "SSF_HASH",    "SSF_INCLUDE_CERT", "RSCP_CATCH_INIT",  "RSCP_ON_ERROR", "LD_LIBRARY_PATH", "TZ",
};

// What is found, part by part, and what is wrong with it.
class Findings {
public:
    Json json = Json::object();

    void problem(const std::string& text, ExitCode exit = ExitCode::configuration) {
        problems_.push_back(text);
        if (exit_ == ExitCode::accepted || exit == ExitCode::cryptoUnavailable) {
            exit_ = exit;
        }
    }
    void warning(const std::string& text) { warnings_.push_back(text); }
    ExitCode exit() const { return exit_; }
    const std::vector<std::string>& problems() const { return problems_; }
    const std::vector<std::string>& warnings() const { return warnings_; }

private:
    std::vector<std::string> problems_;
    std::vector<std::string> warnings_;
    ExitCode exit_ = ExitCode::accepted;
};

std::string versionOf(const LoadedSymbol& version, const LoadedSymbol& release) {
    char* text = nullptr;
    std::int32_t length = 0;
    if (version.address == nullptr || reinterpret_cast<decltype(&SsfVersion)>(version.address)(&text, &length) != 0 ||
        text == nullptr) {
        return "unknown";
    }
    std::string result(text, static_cast<std::size_t>(length));
    if (release.address != nullptr) {
        reinterpret_cast<decltype(&SsfDELSsfOctetstring)>(release.address)(&text, &length);
    }
    return result;
}

std::string realPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

void lookAtLibraries(const DoctorOptions& options, Findings& findings) {
    findings.json["library"] = {{"path", realPath(libraryAt(reinterpret_cast<const void*>(&VorakGetVersion)))},
                                {"version", VorakGetVersion()}};
    Json crypto = {{"loaded", false}, {"path", nullptr}, {"version", nullptr}};
    try {
        // The library empties the trace file when it starts; a running program may be writing it.
        const EnvironmentOverride withoutTrace("KAV_EXT_TRC", nullptr);
        const LibrarySession session({options.cryptoLibrary, "", ""});
        const LoadedSymbol version = findLoaded("SsfVersion");
        crypto = {{"loaded", true},
                  {"path", realPath(findLoaded("SsfVerify").path)},
                  {"version", versionOf(version, findLoaded("SsfDELSsfOctetstring"))}};
    } catch (const Failure& failure) {
        findings.problem(std::string("the crypto library: ") + failure.what(), ExitCode::cryptoUnavailable);
    }
    findings.json["cryptoLibrary"] = crypto;
}

void lookAtSettings(Findings& findings) {
    Json properties = Json::object();
    std::istringstream names(QuorvantiGetProperty(nullptr));
    for (std::string name; std::getline(names, name, ';');) {
        const char* value = QuorvantiGetProperty(name.c_str());
        properties[name] = value != nullptr ? Json(value) : Json();
    }
    findings.json["properties"] = properties;
    Json environment = Json::object();
    for (const char* name : variables) {
        const char* value = std::getenv(name);
        environment[name] = value != nullptr ? Json(value) : Json();
    }
    findings.json["environment"] = environment;
}

void lookAtCertificate(const char* kind, const X509* certificate, Json& entries, Findings& findings) {
    const CertificateInfo info = describe(certificate);
    Json entry = {{"kind", kind}};
    entry.update(certificateJson(info));
    entries.push_back(entry);
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    const std::string who = std::string("the key store's certificate ") + info.subject;
    if (now > info.notAfter) {
        findings.problem(who + " expired on " + utcText(info.notAfter));
    } else if (now < info.notBefore) {
        findings.problem(who + " is not valid before " + utcText(info.notBefore));
    } else if (daysUntil(info.notAfter) < warnDays) {
        findings.warning(who + " expires in " + std::to_string(daysUntil(info.notAfter)) + " days");
    }
}

void lookAtKeyStore(const DoctorOptions& options, Findings& findings) {
    if (options.profile.empty()) {
        findings.json["keyStore"] = nullptr;
        return;
    }
    Json entries = Json::array();
    Json json = {{"file", options.profile}};
    try {
        const KeyStore store = readKeyStore(options.profile, readPassword(options.password));
        if (store.own != nullptr) {
            lookAtCertificate("own", store.own.get(), entries, findings);
        }
        for (const Openssl<X509>& certificate : store.others) {
            lookAtCertificate("trusted", certificate.get(), entries, findings);
        }
        json.update({{"format", formatName(store.format)}, {"privateKey", store.key != nullptr}});
    } catch (const Failure& failure) {
        findings.problem(failure.what());
    }
    json["entries"] = entries;
    findings.json["keyStore"] = json;
}

void lookAtClock(Findings& findings) {
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    findings.json["clock"] = {{"utc", utcText(now)}};
    if (now < releaseTime) {
        findings.problem("the clock is wrong: it says " + utcText(now));
    }
}

bool canBeWritten(const std::string& name) {
    std::error_code error;
    const bool there = std::filesystem::exists(name, error);
    std::FILE* stream = std::fopen(name.c_str(), "ab");  // nothing that is there is touched
    if (stream == nullptr) {
        return false;
    }
    std::fclose(stream);
    if (!there) {
        std::filesystem::remove(name, error);
    }
    return true;
}

void lookAtTrace(const DoctorOptions& options, Findings& findings) {
    const char* variable = std::getenv("KAV_EXT_TRC");
    const std::string target = !options.traceFile.empty() ? options.traceFile : variable != nullptr ? variable : "";
    const bool stream = target == "stdout" || target == "stderr";
    const bool writable = !target.empty() && (stream || canBeWritten(target));
    findings.json["trace"] = {{"target", target.empty() ? Json() : Json(target)},
                              {"writable", target.empty() ? Json() : Json(writable)}};
    if (!target.empty() && !writable) {
        findings.problem("the trace file " + target + " cannot be written");
    }
}

std::string valueText(const Json& value) {
    return value.is_null() ? "not set" : value.is_string() ? value.get<std::string>() : value.dump();
}

std::string asText(const Findings& findings) {
    const Json& json = findings.json;
    std::string text = row("library", valueText(json["library"]["path"])) +
                       row("interface version", valueText(json["library"]["version"]));
    text += json["cryptoLibrary"]["loaded"] == true
                ? row("crypto library", valueText(json["cryptoLibrary"]["path"])) +
                      row("crypto version", valueText(json["cryptoLibrary"]["version"]))
                : row("crypto library", "not loaded");
    text += row("clock (UTC)", valueText(json["clock"]["utc"])) + row("trace file", valueText(json["trace"]["target"]));
    if (!json["trace"]["writable"].is_null()) {
        text += row("trace can be written", json["trace"]["writable"] == true ? "yes" : "no");
    }
    for (const char* part : {"properties", "environment"}) {
        text += std::string(part) + "\n";
        for (const auto& [name, value] : json[part].items()) {
            text += row("  " + name, valueText(value));
        }
    }
    if (!json["keyStore"].is_null()) {
        text += row("key store", valueText(json["keyStore"]["file"]));
        for (const Json& entry : json["keyStore"]["entries"]) {
            text +=
                row("  " + valueText(entry["kind"]), valueText(entry["subject"])) +
                row("    valid until", valueText(entry["notAfter"]) + " (" + valueText(entry["daysLeft"]) + " days)");
        }
    }
    for (const std::string& warning : findings.warnings()) {
        text += row("WARNING", warning);
    }
    for (const std::string& problem : findings.problems()) {
        text += row("PROBLEM", problem);
    }
    return text + (findings.problems().empty() ? "no problem was found\n" : "");
}

}  // namespace

ExitCode doctor(const DoctorOptions& options, std::ostream& out) {
    Findings findings;
    lookAtLibraries(options, findings);
    lookAtClock(findings);
    lookAtTrace(options, findings);
    lookAtSettings(findings);
    lookAtKeyStore(options, findings);
    findings.json["warnings"] = findings.warnings();
    findings.json["problems"] = findings.problems();
    out << (options.json ? dump(findings.json) : asText(findings));
    return findings.exit();
}

}  // namespace quorvanti
