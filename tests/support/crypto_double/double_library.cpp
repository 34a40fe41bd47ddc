// The crypto double's own life: control, version, properties, errors, release.
#include "tests/support/crypto_double/double_internals.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <new>

namespace quorvanti::test {

namespace {

std::atomic<int> insideCalls{0};
std::atomic<int> overlappingCalls{0};

std::recursive_mutex& enter() {
    if (insideCalls.fetch_add(1) > 0) {
        overlappingCalls.fetch_add(1);
    }
    return theMutex();
}

// Tests make allocations fail; the double loses its notes then, not its nerves.
template <typename Action>
void withoutFailing(Action action) {
    try {
        action();
    } catch (const std::bad_alloc&) {
    }
}

// Laid out as ssf.h describes the record.
struct VersionRecord {
    std::int32_t level;
    char reserved1[36];
    std::uint32_t size;
    char reserved2[12];
    const char* text;
};
static_assert(offsetof(VersionRecord, size) == 40 && offsetof(VersionRecord, text) == 56);

}  // namespace

std::recursive_mutex& theMutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

DoubleControl& theControl() {
    static DoubleControl control;
    return control;
}

Call::Call(const char* name) : lock_(enter()) {
    DoubleControl& control = theControl();
    withoutFailing([&] {
        const auto found = control.functions.find(std::string_view(name));
        function_ = found != control.functions.end() ? &found->second : &control.functions[name];
        function_->calls++;
        function_->arguments.clear();
    });
    withoutFailing([&] {
        if (control.order.size() < 1000) {
            control.order.emplace_back(name);
        }
    });
    if (control.hooks.anyCall) {
        control.hooks.anyCall(name);
    }
}

Call::~Call() {
    insideCalls.fetch_sub(1);
}

Call& Call::bytes(const char* parameter, const void* data, std::int32_t length) {
    if (function_ != nullptr && data != nullptr && length >= 0) {
        withoutFailing([&] {
            function_->arguments[parameter].assign(static_cast<const char*>(data), static_cast<std::size_t>(length));
        });
    }
    return *this;
}

Call& Call::text(const char* parameter, const char* value) {
    return bytes(parameter, value, value == nullptr ? 0 : static_cast<std::int32_t>(std::strlen(value)));
}

Call& Call::number(const char* parameter, std::int64_t value) {
    if (function_ != nullptr) {
        withoutFailing([&] { function_->arguments[parameter] = std::to_string(value); });
    }
    return *this;
}

std::int32_t Call::result() const {
    return function_ == nullptr ? 0 : function_->result;
}

char* handOut(const char* maker, std::string_view bytes) {
    const std::lock_guard<std::recursive_mutex> lock(theMutex());
    char* copy = new char[bytes.size() + 1];
    bytes.copy(copy, bytes.size());
    copy[bytes.size()] = '\0';
    noteOut(maker, copy);
    return copy;
}

void noteOut(const char* maker, const void* object) {
    theControl().outstanding[object] = maker;
}

bool noteBack(const void* object) {
    if (theControl().outstanding.erase(object) == 1) {
        return true;
    }
    theControl().foreignReleases++;
    return false;
}

}  // namespace quorvanti::test

using quorvanti::test::Call;
using quorvanti::test::DoubleControl;
using quorvanti::test::theControl;

extern "C" {

DoubleControl* crypto_double_control() {
    theControl().handOut = [](std::string_view bytes) { return quorvanti::test::handOut("a hook", bytes); };
    return &theControl();
}

std::atomic<int>* crypto_double_overlapping_calls() {
    return &quorvanti::test::overlappingCalls;
}

int32_t kavcr_init(void) {
    return Call("kavcr_init").result();
}

int32_t kavcr_done(void) {
    return Call("kavcr_done").result();
}

int32_t kavcr_get_version(const void** record) {
    const Call call("kavcr_get_version");
    DoubleControl& control = theControl();
    if (control.hooks.kavcr_get_version) {
        return control.hooks.kavcr_get_version(record);
    }
    static quorvanti::test::VersionRecord version;
    version = {control.versionLevel,
               {},
               control.versionRecordSize,
               {},
               control.versionRecordText ? control.versionRecordText->c_str() : nullptr};
    *record = control.versionRecord ? &version : nullptr;
    return call.result();
}

int32_t kavcr_set_property_int(const char* name, int32_t value) {
    Call call("kavcr_set_property_int");
    call.text("name", name).number("value", value);
    if (call.result() == 0) {
        theControl().properties[name] = value;
    }
    return call.result();
}

int32_t kavcr_get_property_int(const char* name, int32_t* value) {
    Call call("kavcr_get_property_int");
    call.text("name", name);
    if (theControl().hooks.kavcr_get_property_int) {
        return theControl().hooks.kavcr_get_property_int(name, value);
    }
    *value = theControl().properties[name];
    return call.result();
}

int32_t SsfVersion(char** text, int32_t* textLength) {
    const Call call("SsfVersion");
    DoubleControl& control = theControl();
    if (control.hooks.SsfVersion) {
        return control.hooks.SsfVersion(text, textLength);
    }
    quorvanti::test::clear(text, textLength);
    if (call.result() == 0 && control.versionText) {
        quorvanti::test::handOut("SsfVersion", *control.versionText, text, textLength);
    }
    return call.result();
}

int32_t SsfSecTKLastErrorInfo(int32_t code, int32_t* hasInfo, char** text1, int32_t* text1Length, char** text2,
                              int32_t* text2Length) {
    Call call("SsfSecTKLastErrorInfo");
    call.number("code", code);
    DoubleControl& control = theControl();
    if (control.hooks.SsfSecTKLastErrorInfo) {
        return control.hooks.SsfSecTKLastErrorInfo(code, hasInfo, text1, text1Length, text2, text2Length);
    }
    *hasInfo = 0;
    quorvanti::test::clear(text1, text1Length);
    quorvanti::test::clear(text2, text2Length);
    if (call.result() == 0) {
        *hasInfo = control.errorHasInfo;
        if (control.errorText1) {
            quorvanti::test::handOut("SsfSecTKLastErrorInfo", *control.errorText1, text1, text1Length);
        }
        if (control.errorText2) {
            quorvanti::test::handOut("SsfSecTKLastErrorInfo", *control.errorText2, text2, text2Length);
        }
    }
    return call.result();
}

int32_t SsfDELSsfOctetstring(void* dataAddress, int32_t* length) {
    const Call call("SsfDELSsfOctetstring");
    if (dataAddress == nullptr || length == nullptr) {
        return SSF_API_INVALID_FUNCARGS;
    }
    char* data = nullptr;
    std::memcpy(&data, dataAddress, sizeof data);
    if (data != nullptr && quorvanti::test::noteBack(data)) {
        delete[] data;
    }
    data = nullptr;
    std::memcpy(dataAddress, &data, sizeof data);
    *length = 0;
    return call.result();
}

}  // extern "C"
