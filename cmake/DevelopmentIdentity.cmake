# Who signs the companion, and which root the helper trusts. A release names its own; otherwise an identity is made
# once in the build folder, and made anew when the names in it change.
set(WICKET_SIGNING_KEY "" CACHE STRING
    "The private key that signs the companion: a PEM file or a PKCS#11 URI. Empty: a development identity")
set(WICKET_SIGNING_CERTIFICATES "" CACHE FILEPATH
    "A PEM file with the certificate of WICKET_SIGNING_KEY first and those above it after")
set(WICKET_ANCHOR_CERTIFICATE "" CACHE FILEPATH
    "A PEM file with the root certificate that the helper trusts; what WICKET_SIGNING_CERTIFICATES leads to")

find_program(WICKET_OPENSSL openssl REQUIRED)
mark_as_advanced(WICKET_OPENSSL)

# wicket_make_development_identity(FOLDER)
function(wicket_make_development_identity FOLDER)
  # Changed here whenever the script makes something else.
  set(WANTED "1\n${WICKET_CERTIFICATE_COMMON_NAME}\n${WICKET_TEAM_IDENTIFIER}\n")
  set(MADE "")
  if(EXISTS ${FOLDER}/made-for)
    file(READ ${FOLDER}/made-for MADE)
  endif()
  if(MADE STREQUAL WANTED)
    return()
  endif()
  file(REMOVE_RECURSE ${FOLDER})
  execute_process(
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/lib/make-identity.sh ${FOLDER} "${WICKET_CERTIFICATE_COMMON_NAME}"
            ${WICKET_TEAM_IDENTIFIER}
    RESULT_VARIABLE STATUS ERROR_VARIABLE ERRORS)
  if(NOT STATUS EQUAL 0)
    message(FATAL_ERROR "no development identity could be made: ${ERRORS}")
  endif()
  file(WRITE ${FOLDER}/made-for "${WANTED}")
endfunction()

if(NOT WICKET_SIGNING_KEY AND NOT WICKET_SIGNING_CERTIFICATES AND NOT WICKET_ANCHOR_CERTIFICATE)
  set(WICKET_IDENTITY_FOLDER ${CMAKE_BINARY_DIR}/identity)
  wicket_make_development_identity(${WICKET_IDENTITY_FOLDER})
  set(WICKET_USED_KEY ${WICKET_IDENTITY_FOLDER}/leaf.key)
  set(WICKET_USED_CERTIFICATES ${WICKET_IDENTITY_FOLDER}/chain.pem)
  set(WICKET_USED_ANCHOR ${WICKET_IDENTITY_FOLDER}/root.pem)
elseif(WICKET_SIGNING_KEY AND WICKET_SIGNING_CERTIFICATES AND WICKET_ANCHOR_CERTIFICATE)
  set(WICKET_USED_KEY ${WICKET_SIGNING_KEY})
  set(WICKET_USED_CERTIFICATES ${WICKET_SIGNING_CERTIFICATES})
  set(WICKET_USED_ANCHOR ${WICKET_ANCHOR_CERTIFICATE})
else()
  message(FATAL_ERROR "WICKET_SIGNING_KEY, WICKET_SIGNING_CERTIFICATES and WICKET_ANCHOR_CERTIFICATE belong together: "
                      "set all of them, or none for a development identity")
endif()

# wicket_anchor_bytes(VARIABLE): the trusted root's DER bytes as the elements of a C++ array.
function(wicket_anchor_bytes VARIABLE)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${WICKET_USED_ANCHOR})
  set(DER ${CMAKE_CURRENT_BINARY_DIR}/TrustedAnchor.der)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env OPENSSL_CONF=/dev/null
                          ${WICKET_OPENSSL} x509 -in ${WICKET_USED_ANCHOR} -outform DER -out ${DER}
                  RESULT_VARIABLE STATUS ERROR_VARIABLE ERRORS)
  if(NOT STATUS EQUAL 0)
    message(FATAL_ERROR "${WICKET_USED_ANCHOR} holds no certificate in PEM form: ${ERRORS}")
  endif()
  file(READ ${DER} BYTES HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," BYTES "${BYTES}")
  set(${VARIABLE} "${BYTES}" PARENT_SCOPE)
endfunction()

# wicket_sign(TARGET IDENTIFIER ENTITLEMENTS): signs the executable after each linking, and makes sure that the
# trusted root accepts it. It is linked anew when what signs it changes.
function(wicket_sign TARGET IDENTIFIER ENTITLEMENTS)
  set(KEY_FILE ${WICKET_USED_KEY})
  if(KEY_FILE MATCHES "^pkcs11:")
    set(KEY_FILE "")
  endif()
  add_dependencies(${TARGET} wicket_codesign_command)
  set_property(TARGET ${TARGET} APPEND PROPERTY LINK_DEPENDS
               ${KEY_FILE} ${WICKET_USED_CERTIFICATES} ${WICKET_USED_ANCHOR} ${ENTITLEMENTS}
               $<TARGET_FILE:wicket_codesign_command>)
  add_custom_command(TARGET ${TARGET} POST_BUILD VERBATIM
    COMMAND wicket_codesign_command sign --key ${WICKET_USED_KEY} --certificate ${WICKET_USED_CERTIFICATES}
            --identifier ${IDENTIFIER} --entitlements ${ENTITLEMENTS} --options runtime $<TARGET_FILE:${TARGET}>
    COMMAND wicket_codesign_command verify --anchor ${WICKET_USED_ANCHOR} $<TARGET_FILE:${TARGET}>)
endfunction()
