// Accepts and issues tickets through the COM class, from JScript.
//
//   cscript //nologo tickets.js LIBRARY KEYSTORE PASSWORD CERTIFICATE TRUSTED TICKET EXPIRED
//
// LIBRARY      the crypto library, such as kavcrypto.dll
// KEYSTORE     the key store that our own tickets are signed with, and its PASSWORD
// CERTIFICATE  a file with our own certificate, PEM
// TRUSTED      a file with the certificate of the system that issues logon tickets, PEM
// TICKET       a file with a logon ticket, EXPIRED one with a ticket whose time has passed

if (WScript.Arguments.length != 7) {
    WScript.Echo("usage: tickets.js LIBRARY KEYSTORE PASSWORD CERTIFICATE TRUSTED TICKET EXPIRED");
    WScript.Quit(2);
}

var files = new ActiveXObject("Scripting.FileSystemObject");
var tickets = new ActiveXObject("QUORVANTI.SSO2Ticket");

function readFile(name) {
    var stream = files.OpenTextFile(name, 1);
    var text = stream.ReadAll();
    stream.Close();
    return text;
}

function showUser(what, fields) {
    WScript.Echo(what + ": " + fields[0] + " of " + fields[2] + " " + fields[1] + ", portal user " + fields[4] +
                 ", by " + fields[5]);
    WScript.Echo("  seconds left: " + fields[6]);
}

// For a call that has to fail.
function showFailure(what, call) {
    try {
        call();
        WScript.Echo(what + ": did not fail");
    } catch (error) {
        WScript.Echo(what + ": " + (error.number >>> 0).toString(16).toUpperCase() + " " + error.description);
    }
}

// The array of a result as one of JScript's own.
function fieldsOf(result) {
    return new VBArray(result).toArray();
}

WScript.Echo("version: " + tickets.GetVersion());

// Everything else needs the engine, and the engine a crypto library.
showFailure("bad library", function () { tickets.CryptLib = "nowhere.dll"; });
tickets.CryptLib = WScript.Arguments(0);

tickets.SetProperty("SSF_HASH", "SHA256");
WScript.Echo("hash: " + tickets.GetProperty("SSF_HASH"));

// A ticket of DEV 200 for QAS 100. It says "!" where base64 has "+"; who receives it turns that back.
var assertion = tickets.CreateAssertionTicket("DEV", "200", WScript.Arguments(1), WScript.Arguments(2), "QAS", "100",
                                              "JDOE", "E", "jdoe", "basic").replace(/!/g, "+");

// What QAS does with it: our certificate is the key that it trusts, loaded once.
tickets.LoadTicketKey(readFile(WScript.Arguments(3)), 0, 1);
showUser("assertion ticket", fieldsOf(tickets.EvalAssertionTicket(assertion, "", "", "QAS", "100")));
showFailure("wrong recipient", function () { tickets.EvalAssertionTicket(assertion, "", "", "PRD", "300"); });

// A logon ticket comes with the certificate of its signer.
var fields = fieldsOf(tickets.EvalLogonTicket(readFile(WScript.Arguments(5)), WScript.Arguments(4), ""));
showUser("logon ticket", fields);
WScript.Echo("  signed by " + tickets.ParseCertificate(fields[3], "SUBJECT"));
WScript.Echo("  issued by " + tickets.ParseCertificate(fields[3], 1));

showFailure("expired", function () {
    tickets.EvalLogonTicket(readFile(WScript.Arguments(6)), WScript.Arguments(4), "");
});
showFailure("missing ticket", function () { tickets.EvalLogonTicket("", WScript.Arguments(4), ""); });
showFailure("no certificate", function () { tickets.ParseCertificate("QUJD", 0); });
