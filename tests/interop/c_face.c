/* A stranger's program: plain C, nothing but the public header. Says which check failed and ends with its line. */
#include <quorvanti/voraksso.h>
#include <stdio.h>
#include <string.h>

#define CHECK(condition)                                                      \
    do {                                                                      \
        if (!(condition)) {                                                   \
            fprintf(stderr, "line %d: %s is not so\n", __LINE__, #condition); \
            return 1;                                                         \
        }                                                                     \
    } while (0)

static int evaluates(const char* ticket, const char* profile) {
    char user[257];
    char client[257];
    char system[257];
    uint8_t certificate[4096];
    uint32_t userLength = sizeof user;
    uint32_t clientLength = sizeof client;
    uint32_t systemLength = sizeof system;
    uint32_t certificateLength = sizeof certificate;
    CHECK(VorakEvalLogonTicket(ticket, profile, NULL, user, &userLength, certificate, &certificateLength, system,
                               &systemLength, client, &clientLength) == VORAK_OK);
    CHECK(strcmp(user, "JDOE") == 0 && userLength == 4);
    CHECK(strcmp(client, "100") == 0 && clientLength == 3);
    CHECK(strcmp(system, "PRD") == 0 && systemLength == 3);
    CHECK(certificateLength > 0 && certificate[0] == 0x30);

    CHECK(VorakEvalLogonTicket(ticket, profile, NULL, user, &userLength, certificate, &certificateLength, system,
                               &systemLength, client, NULL) == VORAK_INVALID);
    return 0;
}

static int tells_how_much_room_is_needed(const char* ticket, const char* profile) {
    char user[2] = "x";
    uint32_t userLength = sizeof user;
    TICKET_INFO info;
    memset(&info, 0, sizeof info);
    info.struct_size = sizeof info;
    info.user = user;
    info.user_capacity = &userLength;
    CHECK(VorakEvalLogonTicketEx(ticket, profile, NULL, NULL, NULL, &info) == VORAK_USER_BUFFER_TOO_SMALL);
    CHECK(userLength == 4 && user[0] == '\0');
    CHECK(info.assertion_marker == -1);
    return 0;
}

static int refuses(const char* profile) {
    TICKET_INFO info;
    memset(&info, 0, sizeof info);
    CHECK(VorakEvalLogonTicketEx("AAAA", profile, NULL, NULL, NULL, NULL) == VORAK_INVALID);
    CHECK(VorakEvalLogonTicketEx("AAAA", profile, NULL, NULL, NULL, &info) == VORAK_INVALID);
    info.struct_size = sizeof info;
    CHECK(VorakEvalLogonTicketEx("AA!A", profile, NULL, NULL, NULL, &info) == VORAK_NOT_BASE64);
    CHECK(VorakEvalAssertionTicket(NULL, profile, NULL, "DEV", "200", &info) == VORAK_NOT_BASE64);
    CHECK(VorakEvalTicket("AAAA", 4, &info) == VORAK_MALFORMED);
    return 0;
}

int main(int argc, char** argv) {
    TICKET_INFO info;
    memset(&info, 0, sizeof info);
    info.struct_size = sizeof info;
    CHECK(argc == 3);
    CHECK(VorakGetVersion() == 15);
    CHECK(VorakEvalLogonTicketEx(argv[1], argv[2], NULL, NULL, NULL, &info) == VORAK_INVALID);
    CHECK(QuorvantiSetProperty("KAV_EXT_SYSID", "ABC") == VORAK_OK);
    CHECK(strcmp(QuorvantiGetProperty("KAV_EXT_SYSID"), "ABC") == 0);
    CHECK(QuorvantiGetProperty("KAV_EXT_SYSID ") == NULL);
    CHECK(QuorvantiSetProperty("kav_ext_sysid", "ABC") == VORAK_INVALID);
    CHECK(VorakInitialize(NULL) == VORAK_OK);
    CHECK(VorakInitialize("") == VORAK_OK);
    CHECK(evaluates(argv[1], argv[2]) == 0);
    CHECK(tells_how_much_room_is_needed(argv[1], argv[2]) == 0);
    CHECK(refuses(argv[2]) == 0);
    CHECK(VorakShutdown() == VORAK_OK);
    CHECK(VorakEvalLogonTicketEx(argv[1], argv[2], NULL, NULL, NULL, &info) == VORAK_INVALID);
    CHECK(VorakGetVersion() == 15);
    puts("all is as it should be");
    return 0;
}
