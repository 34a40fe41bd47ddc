#include "tools/sso2ticket/inspect_command.h"

#include "tools/sso2ticket/output.h"
#include "tools/sso2ticket/signature_info.h"
#include "tools/sso2ticket/ticket_dissection.h"
#include "tools/sso2ticket/ticket_input.h"

#include <ostream>

namespace quorvanti {

namespace {

std::string idText(std::uint8_t id) {
    return format("0x%02X", static_cast<unsigned>(id));
}

// The names of units are long.
std::string line(const std::string& name, const std::string& value) {
    return row(name, value, 34);
}

std::string codePageText(const std::string& codePage) {
    return codePage == "4110" ? codePage + " (UTF-8)" : codePage == "1100" ? codePage + " (ISO 8859-1)" : codePage;
}

std::string signatureText(const SignatureInfo& info, std::size_t length) {
    std::string text = line("signature", std::to_string(length) + " bytes");
    if (!info.readable) {
        return text + line("", "no PKCS#7 signed data");
    }
    text += line("signers", std::to_string(info.signers)) + line("digest", info.digest) +
            line("signature algorithm", info.algorithm) +
            line("signed attributes", info.signedAttributes ? "yes" : "no");
    text += info.keyIdentifier.empty()
                ? line("signer issued by", info.issuer) + line("signer serial number", info.serialNumber)
                : line("signer key identifier", info.keyIdentifier);
    for (const CertificateInfo& certificate : info.certificates) {
        text += line("carried certificate", certificate.subject) + line("  issued by", certificate.issuer) +
                line("  serial number", certificate.serialNumber) + line("  valid", validityText(certificate)) +
                line("  key", certificate.key) + line("  fingerprint", certificate.fingerprint);
    }
    return text;
}

Json signatureJson(const SignatureInfo& info, std::size_t length) {
    Json certificates = Json::array();
    for (const CertificateInfo& certificate : info.certificates) {
        certificates.push_back(certificateJson(certificate));
    }
    Json json = {{"length", length}, {"readable", info.readable}};
    if (info.readable) {
        json.update({{"signers", info.signers},
                     {"digest", info.digest},
                     {"algorithm", info.algorithm},
                     {"signedAttributes", info.signedAttributes},
                     {"signerIssuer", info.issuer},
                     {"signerSerialNumber", info.serialNumber},
                     {"signerKeyIdentifier", info.keyIdentifier},
                     {"certificates", certificates}});
    }
    return json;
}

std::string asText(const Dissection& ticket) {
    std::string text = "UNVERIFIED: nobody has checked that this ticket is genuine\n";
    if (ticket.base64) {
        text += line("version", std::to_string(ticket.version)) + line("code page", codePageText(ticket.codePage));
    }
    for (const DissectedUnit& unit : ticket.units) {
        text += line(idText(unit.id) + " " + unitName(unit.id),
                     valueText(unit, ticket.codePage) + " (" + kindName(unitKind(unit.id)) + ")");
    }
    const auto created = creationTime(ticket);
    const auto life = lifetime(ticket);
    if (created) {
        text += line("created", utcText(*created));
    }
    if (life) {
        text += line("lifetime", durationText(*life));
    }
    if (created && life) {
        text += line("expires", utcText(*created + *life));
    }
    if (!ticket.signature.empty()) {
        text += signatureText(describeSignature(ticket.signature), ticket.signature.size());
    }
    return text + (ticket.problem.empty() ? "" : line("malformed", ticket.problem));
}

Json asJson(const Dissection& ticket) {
    Json units = Json::array();
    for (const DissectedUnit& unit : ticket.units) {
        const auto number = unitKind(unit.id) == UnitKind::number ? numberOf(unit) : std::nullopt;
        Json json = {{"id", unit.id},
                     {"name", unitName(unit.id)},
                     {"kind", kindName(unitKind(unit.id))},
                     {"length", unit.contents.size()}};
        json["value"] = number ? Json(*number) : Json(valueText(unit, ticket.codePage));
        json["hex"] = hexText(unit.contents);
        units.push_back(json);
    }
    Json json = {{"status", "UNVERIFIED"},
                 {"verified", false},
                 {"wellFormed", ticket.problem.empty()},
                 {"problem", ticket.problem},
                 {"version", ticket.version},
                 {"codePage", ticket.codePage},
                 {"units", units}};
    const auto created = creationTime(ticket);
    const auto life = lifetime(ticket);
    json["creationTime"] = created ? Json(utcText(*created)) : Json();
    json["lifetimeSeconds"] = life ? Json(*life) : Json();
    json["expires"] = created && life ? Json(utcText(*created + *life)) : Json();
    json["signature"] =
        ticket.signature.empty() ? Json() : signatureJson(describeSignature(ticket.signature), ticket.signature.size());
    return json;
}

}  // namespace

ExitCode inspect(const InspectOptions& options, std::istream& in, std::ostream& out) {
    const Dissection ticket = dissect(readTicket(options.ticket, in));
    out << (options.json ? dump(asJson(ticket)) : asText(ticket));
    return ticket.problem.empty() ? ExitCode::accepted : ExitCode::rejected;
}

}  // namespace quorvanti
