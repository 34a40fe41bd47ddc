/*
 * What an issuing system does to make a ticket, signing aside: it writes the fields, has the bytes signed by whatever
 * signs there, and writes the whole of it as text. docs/ticket-format.md describes the bytes.
 *
 *   issue_ticket content FILE user=JDOE client=100 system=PRD created=now hours=8
 *   openssl cms -sign -binary -outform DER -in FILE -signer certificate.pem -inkey key.pem -out signature
 *   issue_ticket text FILE signature >ticket
 *
 * The content goes into a file, because what is printed may have its line ends translated on the way.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#define TICKET_LIMIT 4096
#define UNIT_LIMIT 256

enum kind { TEXT, NUMBER, TIME };

static const struct field {
    const char* name;
    uint8_t id;
    enum kind kind;
} fields[] = {
    /* clang-format off */
    {"user",             0x01, TEXT  },
    {"client",           0x02, TEXT  },
    {"system",           0x03, TEXT  },
    {"created",          0x04, TIME  }, /* "now" or twelve digits, UTC */
    {"hours",            0x05, NUMBER},
    {"minutes",          0x07, NUMBER},
    {"language",         0x09, TEXT  },
    {"recipient-client", 0x0F, TEXT  },
    {"recipient-system", 0x10, TEXT  },
    {"portal",           0x20, TEXT  }, /* begins with "portal:" */
    {"scheme",           0x88, TEXT  },
    /* clang-format on */
};

struct bytes {
    uint8_t data[TICKET_LIMIT];
    size_t length;
};

static void fail(const char* message, const char* detail) {
    fprintf(stderr, "issue_ticket: %s%s\n", message, detail);
    exit(2);
}

static void append(struct bytes* to, const void* data, size_t length) {
    if (length > sizeof to->data - to->length) {
        fail("the ticket is longer than 4096 bytes", "");
    }
    memcpy(to->data + to->length, data, length);
    to->length += length;
}

/* id, length in two bytes, contents; the signature has this form too */
static void append_unit(struct bytes* to, uint8_t id, const void* contents, size_t length) {
    const uint8_t head[3] = {id, (uint8_t)(length >> 8), (uint8_t)length};
    append(to, head, sizeof head);
    append(to, contents, length);
}

static void append_field(struct bytes* to, const struct field* field, const char* value) {
    char text[UNIT_LIMIT + 1] = "";
    if (strlen(value) > UNIT_LIMIT) {
        fail("longer than 256 bytes: ", field->name);
    }
    if (field->kind == NUMBER) {
        const uint32_t number = (uint32_t)strtol(value, NULL, 10);
        const uint8_t bigEndian[4] = {(uint8_t)(number >> 24), (uint8_t)(number >> 16), (uint8_t)(number >> 8),
                                      (uint8_t)number};
        append_unit(to, field->id, bigEndian, sizeof bigEndian);
        return;
    }
    snprintf(text, sizeof text, "%s", value);
    if (field->kind == TIME && strcmp(value, "now") == 0) {
        const time_t now = time(NULL);
        strftime(text, sizeof text, "%Y%m%d%H%M", gmtime(&now));
    }
    append_unit(to, field->id, text, strlen(text));
}

static void write_file(const char* name, const struct bytes* bytes) {
    FILE* stream = fopen(name, "wb");
    if (stream == NULL || fwrite(bytes->data, 1, bytes->length, stream) != bytes->length || fclose(stream) != 0) {
        fail("cannot write ", name);
    }
}

/* version, code page (here UTF-8), the fields: the bytes that are signed */
static void content(const char* file, int count, char** assignments) {
    struct bytes ticket = {{0}, 0};
    append(&ticket,
           "\x02"
           "4110",
           5);
    for (int i = 0; i < count; ++i) {
        const char* equals = strchr(assignments[i], '=');
        const struct field* found = NULL;
        for (size_t j = 0; equals != NULL && j < sizeof fields / sizeof fields[0]; ++j) {
            const size_t length = (size_t)(equals - assignments[i]);
            if (strlen(fields[j].name) == length && strncmp(fields[j].name, assignments[i], length) == 0) {
                found = &fields[j];
            }
        }
        if (found == NULL) {
            fail("there is no such field: ", assignments[i]);
        }
        append_field(&ticket, found, equals + 1);
    }
    write_file(file, &ticket);
}

static void read_file(struct bytes* to, const char* name) {
    FILE* stream = fopen(name, "rb");
    if (stream == NULL) {
        fail("cannot read ", name);
    }
    to->length = fread(to->data, 1, sizeof to->data, stream);
    fclose(stream);
}

static void write_base64(const struct bytes* bytes) {
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (size_t i = 0; i < bytes->length; i += 3) {
        const size_t rest = bytes->length - i;
        const uint32_t group = (uint32_t)bytes->data[i] << 16 | (rest > 1 ? (uint32_t)bytes->data[i + 1] << 8 : 0) |
                               (rest > 2 ? bytes->data[i + 2] : 0);
        putchar(alphabet[group >> 18]);
        putchar(alphabet[group >> 12 & 63]);
        putchar(rest > 1 ? alphabet[group >> 6 & 63] : '=');
        putchar(rest > 2 ? alphabet[group & 63] : '=');
    }
}

/* the content, the signature as a last unit, all of it in base64 */
static void text(const char* contentFile, const char* signatureFile) {
    struct bytes ticket;
    struct bytes signature;
    read_file(&ticket, contentFile);
    read_file(&signature, signatureFile);
    append_unit(&ticket, 0xFF, signature.data, signature.length);
    write_base64(&ticket);
}

int main(int argc, char** argv) {
    if (argc >= 4 && strcmp(argv[1], "content") == 0) {
        content(argv[2], argc - 3, argv + 3);
    } else if (argc == 4 && strcmp(argv[1], "text") == 0) {
        text(argv[2], argv[3]);
    } else {
        fail("usage: issue_ticket content FILE NAME=VALUE... | issue_ticket text CONTENT SIGNATURE", "");
    }
    return fflush(stdout) == 0 && ferror(stdout) == 0 ? 0 : 1;
}
