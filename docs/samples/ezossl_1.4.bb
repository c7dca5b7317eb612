# SPDX-License-Identifier: MIT
# BitBake recipe for the library. Its layer depends on meta-oe, which has cJSON.

SUMMARY = "Sound source localisation with two microphones"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=47af9a06ff031811609204fa0b0b762c"

SRC_URI = "git://git.example.com/ezossl.git;protocol=https;branch=main"
SRCREV = "${AUTOREV}"
PV = "1.4.0"
S = "${WORKDIR}/git"

DEPENDS = "cjson"
inherit cmake pkgconfig

EXTRA_OECMAKE = "\
    -DEZOSSL_BUILD_TESTS=OFF \
    -DEZOSSL_BUILD_TOOLS=OFF \
    -DEZOSSL_FFT=builtin \
"
