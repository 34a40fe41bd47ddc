#include "tests/support/trace_capture.h"

#include "base/dptrc/dptrace.h"

#include <regex>
#include <sstream>

namespace quorvanti::test {

TraceCapture::TraceCapture(int level) {
    traceSetLevel(std::to_string(level).c_str());
    traceSetTarget(directory_.file("trace").c_str());
}

TraceCapture::~TraceCapture() {
    traceSetTarget(nullptr);
}

std::string TraceCapture::text() const {
    return readText(directory_.file("trace"));
}

std::vector<std::string> TraceCapture::lines() const {
    static const std::regex tag(R"(^\[Thr +[0-9]+\] )");
    static const std::regex stamp(R"(^[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}$)");
    static const std::regex position(R"( \[([A-Za-z0-9_.]+) *[0-9]+\]$)");
    std::istringstream all(text());
    std::vector<std::string> result;
    for (std::string line; std::getline(all, line);) {
        const bool tagged = std::regex_search(line, tag);
        line = std::regex_replace(line, tag, "");
        if (!tagged || line.empty() || std::regex_match(line, stamp)) {
            continue;
        }
        if (line.starts_with("*** ERROR => ") || line.starts_with("*** WARNING => ")) {
            line = std::regex_replace(line, position, " [$1]");
        }
        result.push_back(line);
    }
    return result;
}

bool TraceCapture::contains(const std::string& part) const {
    return text().find(part) != std::string::npos;
}

}  // namespace quorvanti::test
