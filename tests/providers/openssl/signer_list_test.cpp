#include "providers/openssl/signer_list.h"

#include <gtest/gtest.h>

#include <array>
#include <string_view>

namespace quorvanti::provider {
namespace {

SsfSigRcpSsfInfo* newEntry(std::string_view id) {
    SsfSigRcpSsfInfo* entry = nullptr;
    EXPECT_EQ(SsfNEWSigRcpSsfInfo(id.data(), static_cast<int32_t>(id.size()), "store", 5, "secret", 6, &entry),
              SSF_API_OK);
    return entry;
}

TEST(SignerList, EntryKeepsTextsOfTheGivenLengthWithTerminators) {
    SsfSigRcpSsfInfo* entry = nullptr;
    ASSERT_EQ(SsfNEWSigRcpSsfInfo("<implicit>xx", 10, "storexx", 5, "secretxx", 6, &entry), SSF_API_OK);
    EXPECT_STREQ(entry->id, "<implicit>");
    EXPECT_EQ(entry->idLength, 10);
    EXPECT_STREQ(entry->profile, "store");
    EXPECT_EQ(entry->profileLength, 5);
    EXPECT_STREQ(entry->password, "secret");
    EXPECT_EQ(entry->passwordLength, 6);
    EXPECT_EQ(entry->info, nullptr);
    EXPECT_EQ(entry->certificate, nullptr);
    EXPECT_EQ(entry->next, nullptr);
    EXPECT_EQ(entry->result, SSF_API_UNDEFINED_RESULT);
    EXPECT_EQ(SsfDELSigRcpSsfInfo(&entry), SSF_API_OK);
    EXPECT_EQ(entry, nullptr);
    EXPECT_EQ(SsfDELSigRcpSsfInfo(&entry), SSF_API_OK);
}

TEST(SignerList, EntryNeedsNeitherProfileNorPassword) {
    SsfSigRcpSsfInfo* entry = nullptr;
    ASSERT_EQ(SsfNEWSigRcpSsfInfo("x", 1, nullptr, 0, nullptr, 0, &entry), SSF_API_OK);
    EXPECT_STREQ(entry->profile, "");
    EXPECT_STREQ(entry->password, "");
    SsfDELSigRcpSsfInfo(&entry);
}

TEST(SignerList, ListTakesEntriesOverInOrder) {
    SsfSigRcpSsfInfoList* list = nullptr;
    SsfSigRcpSsfInfo* one = newEntry("one");
    SsfSigRcpSsfInfo* two = newEntry("two");
    ASSERT_EQ(SsfINSSigRcpSsfInfo(one, &list), SSF_API_OK);
    ASSERT_EQ(SsfINSSigRcpSsfInfo(two, &list), SSF_API_OK);
    EXPECT_EQ(SsfINSSigRcpSsfInfo(two, &list), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(list->first, one);
    EXPECT_EQ(one->next, two);
    EXPECT_EQ(two->next, nullptr);
    EXPECT_EQ(SsfDELSigRcpSsfInfoList(&list), SSF_API_OK);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(SsfDELSigRcpSsfInfoList(&list), SSF_API_OK);
}

TEST(SignerList, AnEntryMayBeDescribedAgainAndAgain) {
    const std::array<std::uint8_t, 2> der{0x30, 0x00};
    SsfSigRcpSsfInfoList* list = makeSignerList("CN=x", "why", SSF_API_UNKNOWN_SIGNER, der);
    ASSERT_NE(list, nullptr);
    for (const std::string_view info : {"one", "", "another"}) {
        EXPECT_TRUE(describeSigner(*list->first, info, SSF_API_OK, der));
        EXPECT_EQ(list->first->info, info);
        EXPECT_EQ(list->first->certificateLength, 2);
        EXPECT_STREQ(list->first->id, "CN=x");
    }
    EXPECT_TRUE(describeSigner(*list->first, "none", SSF_API_NOCERTIFICATE, {}));
    EXPECT_EQ(list->first->certificate, nullptr);
    SsfDELSigRcpSsfInfoList(&list);
}

TEST(SignerList, NullAndNegativeArgumentsAreRefused) {
    SsfSigRcpSsfInfo mark{};
    SsfSigRcpSsfInfo* entry = &mark;
    EXPECT_EQ(SsfNEWSigRcpSsfInfo(nullptr, 0, "p", 1, "q", 1, &entry), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(entry, nullptr);
    EXPECT_EQ(SsfNEWSigRcpSsfInfo("x", 1, nullptr, 1, nullptr, 0, &entry), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfNEWSigRcpSsfInfo("x", 1, nullptr, 0, nullptr, 1, &entry), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfNEWSigRcpSsfInfo("x", -1, nullptr, 0, nullptr, 0, &entry), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfNEWSigRcpSsfInfo("x", 1, nullptr, 0, nullptr, 0, nullptr), SSF_API_INVALID_FUNCARGS);
    SsfSigRcpSsfInfoList* list = nullptr;
    EXPECT_EQ(SsfINSSigRcpSsfInfo(nullptr, &list), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(SsfINSSigRcpSsfInfo(&mark, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfDELSigRcpSsfInfo(nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfDELSigRcpSsfInfoList(nullptr), SSF_API_INVALID_FUNCARGS);
}

TEST(SignerList, MadeListCarriesTheSignersResultAndCertificate) {
    const std::array<std::uint8_t, 3> der{0x30, 0x01, 0x00};
    SsfSigRcpSsfInfoList* list = makeSignerList("CN=x", "why", SSF_API_UNKNOWN_SIGNER, der);
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(list->first->id, "CN=x");
    EXPECT_STREQ(list->first->info, "why");
    EXPECT_EQ(list->first->infoLength, 3);
    EXPECT_EQ(list->first->result, SSF_API_UNKNOWN_SIGNER);
    EXPECT_EQ(list->first->certificateLength, 3);
    EXPECT_EQ(list->first->certificate[0], 0x30);
    SsfDELSigRcpSsfInfoList(&list);

    list = makeSignerList("", "", SSF_API_NOCERTIFICATE, {});
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->first->certificate, nullptr);
    EXPECT_EQ(list->first->certificateLength, 0);
    SsfDELSigRcpSsfInfoList(&list);
}

}  // namespace
}  // namespace quorvanti::provider
