# Values that a release sets and that a development build can live without.
set(WICKET_TEAM_IDENTIFIER "DEVELOPER0" CACHE STRING
    "The maker's developer team identifier: the subject OU that ends the SMAuthorizedClients requirement")
set(WICKET_CERTIFICATE_COMMON_NAME "Developer ID Application: Wicket Development (DEVELOPER0)" CACHE STRING
    "The subject common name of the certificate that signs the companion")
set(WICKET_MAKER_NOTICE "Copyright 2026 the Wicket helper authors" CACHE STRING
    "The maker's notice inside CFBundleGetInfoString")
set(WICKET_HELPER_EXECUTABLE "/usr/libexec/net.orvane.Wicket.TlvPrivilegedHelper" CACHE STRING
    "Where the installed helper lies on Linux; self-removal deletes this file")
