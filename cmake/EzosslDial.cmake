# SPDX-License-Identifier: MIT
#
# Makes a source file of the dial's page: the text of dial.html, and the hashes of its script and
# its style, by which browsers recognise them as the page's own.

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${CMAKE_CURRENT_SOURCE_DIR}/ezossl/serve/dial.html)
file(READ ${CMAKE_CURRENT_SOURCE_DIR}/ezossl/serve/dial.html EZOSSL_DIAL_HTML)

# SHA-256 in base 64. CMake gives base 16 only: three digits of it are two of base 64.
function(ezossl_content_hash text result)
    set(digits ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
    string(SHA256 hex "${text}")
    string(APPEND hex 00) # 64 digits and two are 22 times three
    set(base64)
    foreach(at RANGE 0 63 3)
        string(SUBSTRING ${hex} ${at} 3 three)
        foreach(place "0x${three} / 64" "0x${three} % 64")
            math(EXPR place "${place}")
            string(SUBSTRING ${digits} ${place} 1 digit)
            string(APPEND base64 ${digit})
        endforeach()
    endforeach()
    string(SUBSTRING ${base64} 0 43 base64) # 256 bits
    set(${result} ${base64}= PARENT_SCOPE)
endfunction()

foreach(element style script)
    string(TOUPPER EZOSSL_DIAL_${element} hash)
    string(FIND "${EZOSSL_DIAL_HTML}" "<${element}>" begin)
    string(FIND "${EZOSSL_DIAL_HTML}" "</${element}>" end REVERSE)
    string(LENGTH "<${element}>" tag)
    math(EXPR begin "${begin} + ${tag}")
    math(EXPR length "${end} - ${begin}")
    string(SUBSTRING "${EZOSSL_DIAL_HTML}" ${begin} ${length} text)
    ezossl_content_hash("${text}" ${hash})
endforeach()
configure_file(ezossl/serve/dial_html.cpp.in dial_html.cpp @ONLY)
