# Values that a release sets and that a development build can live without.
set(WICKET_TEAM_IDENTIFIER "DEVELOPER0" CACHE STRING
    "The maker's developer team identifier: the subject OU that ends the SMAuthorizedClients requirement")
set(WICKET_CERTIFICATE_COMMON_NAME "Developer ID Application: Wicket Development (DEVELOPER0)" CACHE STRING
    "The subject common name of the certificate that signs the companion")
set(WICKET_MAKER_NOTICE "Copyright 2026 the Wicket helper authors" CACHE STRING
    "The maker's notice inside CFBundleGetInfoString")
set(WICKET_HELPER_EXECUTABLE "/usr/libexec/net.orvane.Wicket.TlvPrivilegedHelper" CACHE STRING
    "Where the installed helper lies on Linux; self-removal deletes this file")
# With the underscore of a name that no person gets: whoever has the group himself is no companion.
set(WICKET_GROUP "_wicket" CACHE STRING
    "The group that the companion's executable gives to whoever runs it, and that may connect to the socket on Linux")

# The path becomes a word of a shell command that root runs and a value in a unit file, unquoted in both, so
# it may hold nothing that either of them reads as more than itself.
if(NOT WICKET_HELPER_EXECUTABLE MATCHES "^(/[A-Za-z0-9_][A-Za-z0-9._-]*)+$")
  message(FATAL_ERROR "WICKET_HELPER_EXECUTABLE must be an absolute path whose components are made of letters, "
                      "digits, '.', '_' and '-' and begin with none of '.' and '-': ${WICKET_HELPER_EXECUTABLE}")
endif()
# It stands unquoted in unit files and in the source.
if(NOT WICKET_GROUP MATCHES "^[a-z_][a-z0-9_-]*$")
  message(FATAL_ERROR "WICKET_GROUP must be made of small letters, digits, '_' and '-': ${WICKET_GROUP}")
endif()
if(NOT WICKET_TEAM_IDENTIFIER MATCHES "^[A-Z0-9]+$")
  message(FATAL_ERROR "WICKET_TEAM_IDENTIFIER must be made of capital letters and digits: ${WICKET_TEAM_IDENTIFIER}")
endif()
# As it stands in a code requirement, whose language takes a text that begins with a digit in quotes only.
set(WICKET_TEAM_IDENTIFIER_TEXT ${WICKET_TEAM_IDENTIFIER})
if(WICKET_TEAM_IDENTIFIER MATCHES "^[0-9]")
  set(WICKET_TEAM_IDENTIFIER_TEXT "\"${WICKET_TEAM_IDENTIFIER}\"")
endif()
# It stands between quotation marks there and in the source.
if(WICKET_CERTIFICATE_COMMON_NAME STREQUAL "" OR WICKET_CERTIFICATE_COMMON_NAME MATCHES "[\"\\\\\n\r\t]")
  message(FATAL_ERROR "WICKET_CERTIFICATE_COMMON_NAME must be there and hold no quotation mark, no backslash and no "
                      "line break: ${WICKET_CERTIFICATE_COMMON_NAME}")
endif()

# wicket_xml_text(VARIABLE TEXT): TEXT as it stands between the tags of an XML document.
function(wicket_xml_text VARIABLE TEXT)
  string(REPLACE "&" "&amp;" TEXT "${TEXT}")
  string(REPLACE "<" "&lt;" TEXT "${TEXT}")
  string(REPLACE ">" "&gt;" TEXT "${TEXT}")
  set(${VARIABLE} "${TEXT}" PARENT_SCOPE)
endfunction()
