// A crypto library that makes certificates and cannot take them back; in a program of its own, for nobody can.
#include "tests/sec/voraksso/engine_fixture.h"

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class UnreleasedCertificate : public EngineTest {
protected:
    UnreleasedCertificate() : EngineTest("double_no_certificate_free") {}
};

TEST_F(UnreleasedCertificate, IsTracedAndTheAttributeHandedOutAllTheSame) {
    crypto->certificateTexts["SUBJECT"] = "CN=Somebody";
    const TraceCapture trace(1);
    std::uint8_t out[64];
    std::int32_t length = sizeof out;
    EXPECT_EQ(VorakParseCertificate(reinterpret_cast<const std::uint8_t*>("der"), 3, "SUBJECT", out, &length),
              VORAK_OK);
    EXPECT_EQ(std::string(out, out + length), "CN=Somebody");
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"*** ERROR => SsfFreeCertificate is NULL. [ssoxxext]"});
    crypto->outstanding.clear();
}

}  // namespace
}  // namespace quorvanti
