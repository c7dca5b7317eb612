################################################################################
#
# ezossl
#
################################################################################

EZOSSL_VERSION = v1.4.0
EZOSSL_SITE = https://git.example.com/ezossl.git
EZOSSL_SITE_METHOD = git
EZOSSL_LICENSE = MIT, BSD-3-Clause (KISS FFT)
EZOSSL_LICENSE_FILES = LICENSE kissfft/COPYING
EZOSSL_INSTALL_STAGING = YES
EZOSSL_DEPENDENCIES = cjson host-pkgconf

# KISS FFT is compiled into the library.
EZOSSL_KISSFFT_ARCHIVE = kissfft-131.1.0.tar.gz
EZOSSL_EXTRA_DOWNLOADS = \
	https://github.com/mborgerding/kissfft/archive/131.1.0/$(EZOSSL_KISSFFT_ARCHIVE)

define EZOSSL_EXTRACT_KISSFFT
	mkdir -p $(@D)/kissfft
	$(call suitable-extractor,$(EZOSSL_KISSFFT_ARCHIVE)) \
		$(EZOSSL_DL_DIR)/$(EZOSSL_KISSFFT_ARCHIVE) | \
		$(TAR) --strip-components=1 -C $(@D)/kissfft $(TAR_OPTIONS) -
endef
EZOSSL_POST_EXTRACT_HOOKS += EZOSSL_EXTRACT_KISSFFT

EZOSSL_CONF_OPTS = \
	-DEZOSSL_BUILD_TESTS=OFF \
	-DEZOSSL_BUILD_TOOLS=OFF \
	-DEZOSSL_FFT=kissfft \
	-DEZOSSL_KISSFFT_SOURCE_DIR=$(@D)/kissfft

$(eval $(cmake-package))
