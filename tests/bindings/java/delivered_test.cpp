// The native methods as the delivered library exports them: found by their names, as a virtual machine finds them, and
// each of the ten called.
#include "tests/bindings/java/natives_fixture.h"
#include "tests/support/shared_library.h"

#include <algorithm>
#include <stdexcept>

using namespace quorvanti::test;
using testing::ElementsAre;

namespace {

void* library() {
    static void* const opened = openSharedLibrary(QUORVANTI_LIBRARY);
    return opened;
}

template <class Function>
void find(Function*& function, const std::string& name) {
    function = reinterpret_cast<Function*>(findInSharedLibrary(library(), name.c_str()));
    if (function == nullptr) {
        throw std::runtime_error(name + " is not in " QUORVANTI_LIBRARY);
    }
}

Natives exported(const char* name, const std::string& prefix) {
    Natives natives{};
    natives.name = name;
    find(natives.init, prefix + "init");
    find(natives.getVersion, prefix + "getVersion");
    find(natives.evalLogonTicket, prefix + "evalLogonTicket");
    find(natives.evalAssertionTicket, prefix + "evalAssertionTicket");
    find(natives.evalJWToken, prefix + "evalJWToken");
    find(natives.getProperty, prefix + "getProperty");
    find(natives.setProperty, prefix + "setProperty");
    find(natives.createAssertionTicket, prefix + "createAssertionTicket");
    find(natives.loadKey, prefix + "loadKey");
    find(natives.parseCertificate, prefix + "parseCertificate");
    return natives;
}

class Delivered : public NativesTest {
protected:
    ~Delivered() override {
        decltype(VorakShutdown)* shutDown = nullptr;
        find(shutDown, "VorakShutdown");
        shutDown();
    }
    void start() {
        ASSERT_EQ(natives_.init(env_, jni_.receiver(), argument(wide(crypto_.path()))), JNI_TRUE) << exception();
    }
};
INSTANTIATE_TEST_SUITE_P(Of, Delivered,
                         testing::Values(exported("Packaged", "Java_com_vorak_sso_SSO2Ticket_"),
                                         exported("WithoutPackage", "Java_SSO2Ticket_")),
                         nativesName);

TEST_P(Delivered, TellsItsVersionAndKeepsProperties) {
    EXPECT_EQ(taken(natives_.getVersion(env_, jni_.receiver())), u"QUORVANTI 15");
    EXPECT_EQ(natives_.setProperty(env_, jni_.receiver(), jni_.string(u"KAV_OWN_SYSID"), jni_.string(u"DEV")),
              JNI_TRUE);
    EXPECT_EQ(taken(natives_.getProperty(env_, jni_.receiver(), jni_.string(u"KAV_OWN_SYSID"))), u"DEV");
    EXPECT_EQ(natives_.setProperty(env_, jni_.receiver(), jni_.string(u"NO_SUCH"), jni_.string(u"1")), JNI_FALSE);
}

TEST_P(Delivered, SaysWhichCryptoLibraryItCannotLoad) {
    EXPECT_EQ(natives_.init(env_, jni_.receiver(), jni_.string(u"/nowhere/lib.so")), JNI_FALSE);
    EXPECT_EQ(exception(),
              "java/lang/Exception: Could not load SSF library /nowhere/lib.so. Check the property SSF_LIB");
}

TEST_P(Delivered, EvaluatesLogonTickets) {
    start();
    const std::vector<std::u16string> fields = taken(evalLogon(signedTicket(logon())));
    EXPECT_EQ(exception(), "(none)");
    ASSERT_EQ(fields.size(), 8U);
    EXPECT_EQ(fields[3], u"certificate of the double");
    EXPECT_EQ(fields[7], u"0");
    crypto_->functions["SsfVerify"].result = 5;
    crypto_->signers[0].result = 22;
    EXPECT_EQ(evalLogon(signedTicket(logon())), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakEvalLogonTicketEx failed: standard error= 5, ssf error= 22");
}

TEST_P(Delivered, TakesBackTheAssertionTicketsItMakes) {
    start();
    std::u16string ticket =
        taken(create({u"PRD", u"100", u"keys.p12", u"secret", u"DEV", u"200", u"Jürgen 😀", u"E", u"jdoe", u"basic"}));
    EXPECT_EQ(exception(), "(none)");
    std::ranges::replace(ticket, u'!', u'+');
    const std::vector<std::u16string> fields = taken(evalAssertion({ticket, u"profile", std::nullopt, u"DEV", u"200"}));
    ASSERT_EQ(fields.size(), 8U) << exception();
    EXPECT_EQ(fields[0], u"Jürgen 😀");
    EXPECT_EQ(fields[7], u"1");
    EXPECT_EQ(evalAssertion({ticket, u"profile", std::nullopt, u"QAS", u"200"}), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakEvalAssertionTicket failed: standard error= 23, ssf error= 0");
}

TEST_P(Delivered, EvaluatesTokensWithTheKeyItLoaded) {
    start();
    EXPECT_EQ(natives_.loadKey(env_, jni_.receiver(), nullptr, nullptr, 0, 2), JNI_FALSE);
    EXPECT_EQ(natives_.loadKey(env_, jni_.receiver(), jni_.bytes("key"), nullptr, 0, 2), JNI_TRUE);
    EXPECT_EQ(exception(), "(none)");
    const std::string payload = R"({"uid":"JDOE","exp":99999999999})";
    EXPECT_THAT(taken(evalToken(token(payload), "uid")), ElementsAre(*wide(payload), u"JDOE"));
    EXPECT_EQ(exception(), "(none)");
    EXPECT_EQ(evalToken("a.b", "uid"), nullptr);
    EXPECT_EQ(exception(),
              "java/lang/Exception: VorakEvalJWToken failed: standard error= 5, description= Invalid JWT received");
}

TEST_P(Delivered, ReadsCertificates) {
    start();
    crypto_->certificateTexts["SUBJECT"] = "CN=subject";
    const auto parse = [this](jint id) {
        return natives_.parseCertificate(env_, jni_.receiver(), jni_.bytes("certificate"), id);
    };
    EXPECT_EQ(taken(parse(0)), u"CN=subject");
    EXPECT_EQ(parse(9), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: Invalid info request id passed: ID= 9");
}

}  // namespace
