# SPDX-License-Identifier: MIT
# BitBake recipe for the library. Its layer depends on meta-oe, which has cJSON. KISS FFT is compiled
# into the library.

SUMMARY = "Sound source localisation with two microphones"
LICENSE = "MIT & BSD-3-Clause"
LIC_FILES_CHKSUM = "\
    file://LICENSE;md5=47af9a06ff031811609204fa0b0b762c \
    file://${WORKDIR}/kissfft-131.1.0/COPYING;md5=6dae13f6990c3d2cacc8326c4bf36457 \
"

SRC_URI = "\
    git://git.example.com/ezossl.git;protocol=https;branch=main \
    https://github.com/mborgerding/kissfft/archive/refs/tags/131.1.0.tar.gz;name=kissfft;downloadfilename=kissfft-131.1.0.tar.gz \
"
SRCREV = "${AUTOREV}"
SRC_URI[kissfft.sha256sum] = "76c1aac87ddb7258f34b08a13f0eebf9e53afa299857568346aa5c82bcafaf1a"
PV = "1.4.0"
S = "${WORKDIR}/git"

DEPENDS = "cjson"
inherit cmake pkgconfig

EXTRA_OECMAKE = "\
    -DEZOSSL_BUILD_TESTS=OFF \
    -DEZOSSL_BUILD_TOOLS=OFF \
    -DEZOSSL_FFT=kissfft \
    -DEZOSSL_KISSFFT_SOURCE_DIR=${WORKDIR}/kissfft-131.1.0 \
"
