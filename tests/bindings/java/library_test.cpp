// init, getVersion, properties, keys and certificates.
#include "krn/thr/thr_platform.h"
#include "tests/bindings/java/natives_fixture.h"

#include <atomic>
#include <thread>

using namespace quorvanti::test;
using testing::ElementsAre;

namespace {

class LibraryMethods : public NativesTest {
protected:
    bool init(const std::optional<std::u16string>& library) {
        return natives_.init(env_, jni_.receiver(), argument(library)) == JNI_TRUE;
    }
    bool set(std::u16string_view name, const std::optional<std::u16string>& value) {
        return natives_.setProperty(env_, jni_.receiver(), jni_.string(name), argument(value)) == JNI_TRUE;
    }
    std::u16string get(const std::optional<std::u16string>& name) {
        return taken(natives_.getProperty(env_, jni_.receiver(), argument(name)));
    }
    bool load(const char* key, const std::optional<std::u16string>& password, jint type) {
        return natives_.loadKey(env_, jni_.receiver(), key == nullptr ? nullptr : jni_.bytes(key), argument(password),
                                0, type) == JNI_TRUE;
    }
    jstring parse(const char* certificate, jint id) {
        return natives_.parseCertificate(env_, jni_.receiver(),
                                         certificate == nullptr ? nullptr : jni_.bytes(certificate), id);
    }
};
QUORVANTI_FOR_BOTH_CLASSES(LibraryMethods);

TEST_P(LibraryMethods, InitLoadsTheNamedLibrary) {
    EXPECT_TRUE(init(wide(crypto_.path())));
    EXPECT_TRUE(init(wide(crypto_.path())));
    EXPECT_EQ(exception(), "(none)");
    EXPECT_EQ(crypto_.calls("kavcr_init"), 1);
}

TEST_P(LibraryMethods, InitWithoutANameTakesTheProperty) {
    EXPECT_TRUE(set(u"SSF_LIB", wide(crypto_.path())));
    EXPECT_TRUE(init(std::nullopt));
    EXPECT_EQ(exception(), "(none)");
}

TEST_P(LibraryMethods, InitWithANameDoesNotTakeTheProperty) {
    EXPECT_TRUE(set(u"SSF_LIB", u"/nowhere/lib.so"));
    EXPECT_TRUE(init(wide(crypto_.path())));
    EXPECT_EQ(exception(), "(none)");
}

TEST_P(LibraryMethods, InitTellsWhichLibraryCouldNotBeLoaded) {
    EXPECT_FALSE(init(u"/nowhere/lib.so"));
    EXPECT_EQ(exception(),
              "java/lang/Exception: Could not load SSF library /nowhere/lib.so. Check the property SSF_LIB");
    const EnvironmentVariable library("SSF_LIB", "/nowhere/else.so");
    EXPECT_FALSE(init(std::nullopt));
    EXPECT_EQ(exception(),
              "java/lang/Exception: Could not load SSF library /nowhere/else.so. Check the property SSF_LIB");
}

TEST_P(LibraryMethods, InitWithNothingLoadableNamesTheDefaultLibrary) {
    EXPECT_FALSE(init(std::nullopt));
    EXPECT_EQ(exception(), "java/lang/Exception: Could not find and load the default library kavcrypto.dll");
}

TEST_P(LibraryMethods, InitCutsItsMessageAndNotItsCharacters) {
    const std::string head = "Could not load SSF library ";
    EXPECT_FALSE(init(wide(std::string(200, 'x'))));
    EXPECT_EQ(exception(), "java/lang/Exception: " + head + std::string(127 - head.size(), 'x'));
    // The cut goes through the last "é": what is left of it is replaced.
    EXPECT_FALSE(init(std::u16string(126 - head.size(), u'x') + u"éé"));
    EXPECT_EQ(exception(), "java/lang/Exception: " + head + std::string(126 - head.size(), 'x') + "\xEF\xBF\xBD");
}

TEST_P(LibraryMethods, InitTellsAnyOtherCode) {
    quorvanti::setThrHandleSource([](quorvanti::ThrHandle&) { return false; });
    EXPECT_FALSE(init(wide(crypto_.path())));
    quorvanti::setThrHandleSource(nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakInitialize failed: rc= 9");
}

TEST_P(LibraryMethods, VersionIsThatOfTheInterface) {
    EXPECT_EQ(taken(natives_.getVersion(env_, jni_.receiver())), u"QUORVANTI 15");
}

TEST_P(LibraryMethods, PropertiesAreSetAndRead) {
    EXPECT_TRUE(set(u"KAV_OWN_SYSID", u"DEV"));
    EXPECT_EQ(get(u"KAV_OWN_SYSID"), u"DEV");
    EXPECT_TRUE(set(u"KAV_OWN_SYSID", std::nullopt));
    EXPECT_EQ(get(u"KAV_OWN_SYSID"), u"SYS");
    EXPECT_EQ(get(u"KAV_EXT_TRC"), u"(null)");
    EXPECT_THAT(FakeJni::ascii(jni_.string(get(std::nullopt))), testing::HasSubstr("KAV_EXT_TRL"));
}

TEST_P(LibraryMethods, APropertyIsReadWholeWhileAnotherThreadSetsIt) {
    ASSERT_TRUE(set(u"SSF_HASH", std::u16string(19, u'0')));
    std::atomic<bool> done{false};
    std::thread setter([&] {
        FakeJni jni;
        for (char16_t letter = u'A'; !done; letter = letter == u'Z' ? u'A' : static_cast<char16_t>(letter + 1)) {
            natives_.setProperty(jni.env(), nullptr, jni.string(u"SSF_HASH"), jni.string(std::u16string(19, letter)));
            jni.collect();
        }
    });
    int torn = 0;
    for (int round = 0; round < 2000; ++round) {
        const std::u16string value = get(u"SSF_HASH");
        torn += value != std::u16string(19, value.front());
        jni_.collect();
    }
    done = true;
    setter.join();
    EXPECT_EQ(torn, 0);
}

TEST_P(LibraryMethods, AnUnknownPropertyIsNullAndCannotBeSet) {
    EXPECT_EQ(get(u"NO_SUCH"), u"(null)");
    EXPECT_FALSE(set(u"NO_SUCH", u"1"));
    EXPECT_EQ(natives_.setProperty(env_, jni_.receiver(), nullptr, nullptr), JNI_FALSE);
    EXPECT_EQ(exception(), "(none)");
}

TEST_P(LibraryMethods, LoadsAKey) {
    start();
    EXPECT_TRUE(load("a key store", u"secret", 0));
    EXPECT_EQ(crypto_.calls("kav_load_memory_PSE"), 1);
    EXPECT_EQ(exception(), "(none)");
}

TEST_P(LibraryMethods, AKeyThatCannotBeLoadedIsFalseWithoutException) {
    start();
    EXPECT_FALSE(load("a key", std::nullopt, 5));
    EXPECT_FALSE(load(nullptr, std::nullopt, 2));
    EXPECT_FALSE(load("", std::nullopt, 2));
    EXPECT_EQ(exception(), "(none)");
}

TEST_P(LibraryMethods, ReadsEveryAttributeOfACertificate) {
    start();
    const char* const names[] = {"SUBJECT",  "ISSUER",      "SERIALNO", "SUMMARY", "SERIAL",
                                 "VALIDITY", "FINGERPRINT", "ALGID",    "ALL"};
    jint id = 0;
    for (const char* name : names) {
        crypto_->certificateTexts[name] = "the " + std::string(name);
        EXPECT_EQ(taken(parse("certificate", id++)), wide("the " + std::string(name)));
    }
    EXPECT_EQ(exception(), "(none)");
}

TEST_P(LibraryMethods, AnAttributeMayHave16384Bytes) {
    start();
    const std::string longest(16384, 'x');
    crypto_->certificateTexts["SUBJECT"] = longest;
    EXPECT_EQ(taken(parse("certificate", 0)), wide(longest));
    crypto_->certificateTexts["SUBJECT"] = longest + "x";
    EXPECT_EQ(parse("certificate", 0), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakParseCertificate failed: standard error= 3, ssf error= 0");
}

TEST_P(LibraryMethods, RefusesOtherInfoIds) {
    start();
    for (const jint id : {-1, 9, 100}) {
        EXPECT_EQ(parse("certificate", id), nullptr);
        EXPECT_EQ(exception(), "java/lang/Exception: Invalid info request id passed: ID= " + std::to_string(id));
    }
    EXPECT_EQ(crypto_.calls("SsfParseCertificate"), 0);
}

TEST_P(LibraryMethods, ANullCertificateIsNullWithoutException) {
    start();
    EXPECT_EQ(parse(nullptr, 0), nullptr);
    EXPECT_EQ(parse(nullptr, 9), nullptr);
    EXPECT_EQ(exception(), "(none)");
}

TEST_P(LibraryMethods, ACertificateThatCannotBeReadThrows) {
    start();
    EXPECT_EQ(parse("certificate", 0), nullptr);  // the double has no text for it
    EXPECT_EQ(exception(), "java/lang/Exception: VorakParseCertificate failed: standard error= 17, ssf error= 0");
}

TEST_P(LibraryMethods, WriteTheirLines) {
    start();
    const TraceCapture trace(3);
    init(std::nullopt);
    set(u"KAV_OWN_SYSID", u"DEV");
    set(u"NO_SUCH", u"1");
    get(u"KAV_OWN_SYSID");
    load("", std::nullopt, 2);
    parse(nullptr, 0);
    std::vector<std::string> ours;
    for (const std::string& line : trace.lines()) {
        if (line.starts_with("JAVA: ")) {
            ours.push_back(line);
        }
    }
    EXPECT_THAT(ours, ElementsAre("JAVA: init was called.", "JAVA: End of init ", "JAVA: setProperty was called.",
                                  "JAVA: End of setProperty (rc==0)", "JAVA: setProperty was called.",
                                  "JAVA: End of setProperty (rc==9)", "JAVA: getProperty was called.",
                                  "JAVA: End of getProperty ", "JAVA: loadKey was called", "JAVA: End of loadKey",
                                  "JAVA: parseCertificate was called", "JAVA: End of parseCertificate"));
}

}  // namespace
