/*
 * A server that trusts one portal and calls one other system on behalf of its users.
 *
 *   request_handler TRUSTED_ISSUERS OWN_KEYSTORE NEXT_SYSTEM NEXT_CLIENT <requests
 *
 * Each line of standard input stands for a request: the value of the cookie that carries the ticket, percent-encoded as
 * browsers send it. The password of the own key store comes from the environment variable KEYSTORE_PASSWORD.
 */
#include <quorvanti/voraksso.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* A ticket's texts have up to 256 bytes. */
#define TEXT_ROOM 257
#define TICKET_ROOM 4097

struct user {
    char name[TEXT_ROOM];
    char system[TEXT_ROOM]; /* that issued the ticket */
};

struct server {
    const char* trusted_issuers;
    const char* key_store;
    const char* password;
    const char* next_system;
    const char* next_client;
};

static int hex_digit(char digit) {
    static const char digits[] = "0123456789abcdefABCDEF";
    const char* found = digit != '\0' ? strchr(digits, digit) : NULL;
    if (found == NULL) {
        return -1;
    }
    return (int)(found - digits) < 16 ? (int)(found - digits) : (int)(found - digits) - 6;
}

/* "%2B" is "+"; assertion tickets have "!" in its place. In place, for the text only becomes shorter. */
static void undo_transport(char* text) {
    char* to = text;
    for (const char* from = text; *from != '\0'; ++to) {
        const int high = *from == '%' ? hex_digit(from[1]) : -1;
        const int low = high >= 0 ? hex_digit(from[2]) : -1;
        if (low >= 0) {
            *to = (char)(high << 4 | low);
            from += 3;
        } else {
            *to = *from++;
            if (*to == '!') {
                *to = '+';
            }
        }
    }
    *to = '\0';
}

/* Who sends this ticket? 0, or why nobody knows. */
static int32_t accept_ticket(const struct server* server, const char* ticket, struct user* user) {
    uint32_t name_room = sizeof user->name;
    uint32_t system_room = sizeof user->system;
    TICKET_INFO info;
    memset(&info, 0, sizeof info);
    info.struct_size = sizeof info;
    memcpy(info.code_page, "4110", 4); /* UTF-8 */
    info.user = user->name;
    info.user_capacity = &name_room;
    info.system_id = user->system;
    info.system_id_capacity = &system_room;
    return VorakEvalLogonTicketEx(ticket, server->trusted_issuers, NULL, NULL, NULL, &info);
}

/* A ticket with which the next system accepts the same user for the next two minutes. */
static int32_t create_ticket(const struct server* server, const struct user* user, char* ticket) {
    const uint32_t user_length = (uint32_t)strlen(user->name);
    const uint32_t system_length = (uint32_t)strlen(server->next_system);
    const uint32_t client_length = (uint32_t)strlen(server->next_client);
    uint32_t ticket_length = TICKET_ROOM - 1; /* the last byte stays for the terminator */
    AssertionContent content;
    memset(&content, 0, sizeof content);
    content.structSize = sizeof content;
    memcpy(content.codePage, "4110", 4);
    content.user = user->name;
    content.userLength = &user_length;
    content.recipientSysId = server->next_system;
    content.recipientSysIdLength = &system_length;
    content.recipientClient = server->next_client;
    content.recipientClientLength = &client_length;
    ticket[TICKET_ROOM - 1] = '\0';
    return VorakCreateAssertionTicket("WEB", "100", server->key_store, server->password, &content, ticket,
                                      &ticket_length);
}

/* May be called by several threads at once. */
static void handle(const struct server* server, char* cookie) {
    struct user user;
    char ticket[TICKET_ROOM];
    undo_transport(cookie);
    int32_t code = accept_ticket(server, cookie, &user);
    if (code != VORAK_OK) {
        /* For the log of the server; the client need not know why. */
        fprintf(stderr, "refused: %d, crypto library %d\n", (int)VORAK_STANDARD_ERROR(code),
                (int)VORAK_SSF_ERROR(code));
        puts("401");
        return;
    }
    code = create_ticket(server, &user, ticket);
    if (code != VORAK_OK) {
        fprintf(stderr, "no ticket for %s: %d\n", server->next_system, (int)code);
        puts("500");
        return;
    }
    printf("200 %s of %s\nto %s: %s\n", user.name, user.system, server->next_system, ticket);
}

int main(int argc, char** argv) {
    char line[3 * TICKET_ROOM];
    if (argc != 5) {
        fprintf(stderr, "usage: %s TRUSTED_ISSUERS OWN_KEYSTORE NEXT_SYSTEM NEXT_CLIENT\n", argv[0]);
        return 2;
    }
    const struct server server = {argv[1], argv[2], getenv("KEYSTORE_PASSWORD"), argv[3], argv[4]};
    /* Once per process, before the first request. */
    if (VorakInitialize(NULL) != VORAK_OK) {
        fputs("the crypto library cannot be loaded\n", stderr);
        return 1;
    }
    QuorvantiSetProperty("SSF_HASH", "SHA256");
    while (fgets(line, sizeof line, stdin) != NULL) {
        line[strcspn(line, "\r\n")] = '\0';
        handle(&server, line);
    }
    VorakShutdown();
    return 0;
}
