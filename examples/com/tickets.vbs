' Accepts and issues tickets through the COM class, from VBScript.
'
'   cscript //nologo tickets.vbs LIBRARY KEYSTORE PASSWORD CERTIFICATE TRUSTED TICKET EXPIRED
'
' LIBRARY      the crypto library, such as kavcrypto.dll
' KEYSTORE     the key store that our own tickets are signed with, and its PASSWORD
' CERTIFICATE  a file with our own certificate, PEM
' TRUSTED      a file with the certificate of the system that issues logon tickets, PEM
' TICKET       a file with a logon ticket, EXPIRED one with a ticket whose time has passed
Option Explicit

If WScript.Arguments.Count <> 7 Then
    WScript.Echo "usage: tickets.vbs LIBRARY KEYSTORE PASSWORD CERTIFICATE TRUSTED TICKET EXPIRED"
    WScript.Quit 2
End If

Dim files, tickets, info, assertion
Set files = CreateObject("Scripting.FileSystemObject")
Set tickets = CreateObject("QUORVANTI.SSO2Ticket")
WScript.Echo "version: " & tickets.GetVersion

' Everything else needs the engine, and the engine a crypto library.
On Error Resume Next
tickets.CryptLib = "nowhere.dll"
ShowFailure "bad library"
On Error GoTo 0
tickets.CryptLib = WScript.Arguments(0)

tickets.SetProperty "SSF_HASH", "SHA256"
WScript.Echo "hash: " & tickets.GetProperty("SSF_HASH")

' A ticket of DEV 200 for QAS 100. It says "!" where base64 has "+"; who receives it turns that back.
assertion = tickets.CreateAssertionTicket("DEV", "200", WScript.Arguments(1), WScript.Arguments(2), "QAS", "100", _
                                          "JDOE", "E", "jdoe", "basic")
assertion = Replace(assertion, "!", "+")

' What QAS does with it: our certificate is the key that it trusts, loaded once.
tickets.LoadTicketKey ReadFile(WScript.Arguments(3)), 0, 1
info = tickets.EvalAssertionTicket(assertion, "", "", "QAS", "100")
ShowUser "assertion ticket", info

On Error Resume Next
info = tickets.EvalAssertionTicket(assertion, "", "", "PRD", "300")
ShowFailure "wrong recipient"
On Error GoTo 0

' A logon ticket comes with the certificate of its signer.
info = tickets.EvalLogonTicket(ReadFile(WScript.Arguments(5)), WScript.Arguments(4), "")
ShowUser "logon ticket", info
WScript.Echo "  signed by " & tickets.ParseCertificate(info(3), "SUBJECT")
WScript.Echo "  issued by " & tickets.ParseCertificate(info(3), 1)

On Error Resume Next
info = tickets.EvalLogonTicket(ReadFile(WScript.Arguments(6)), WScript.Arguments(4), "")
ShowFailure "expired"
info = tickets.EvalLogonTicket("", WScript.Arguments(4), "")
ShowFailure "missing ticket"
info = tickets.ParseCertificate("QUJD", 0)
ShowFailure "no certificate"
On Error GoTo 0

Sub ShowUser(what, fields)
    WScript.Echo what & ": " & fields(0) & " of " & fields(2) & " " & fields(1) & ", portal user " & fields(4) & _
                 ", by " & fields(5)
    WScript.Echo "  seconds left: " & fields(6)
End Sub

' Behind a call that has to fail.
Sub ShowFailure(what)
    WScript.Echo what & ": " & Hex(Err.Number) & " " & Err.Description & " (" & Err.Source & ")"
    Err.Clear
End Sub

Function ReadFile(name)
    Dim stream
    Set stream = files.OpenTextFile(name, 1)
    ReadFile = stream.ReadAll
    stream.Close
End Function
