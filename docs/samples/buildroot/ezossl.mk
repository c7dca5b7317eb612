################################################################################
#
# ezossl
#
################################################################################

# The commit that you ship, in full: git rev-parse HEAD. Or its tag, if your repository has one.
EZOSSL_VERSION = 0000000000000000000000000000000000000000
EZOSSL_SITE = https://git.example.com/ezossl.git
EZOSSL_SITE_METHOD = git
EZOSSL_LICENSE = MIT
EZOSSL_LICENSE_FILES = LICENSE
EZOSSL_INSTALL_STAGING = YES
EZOSSL_DEPENDENCIES = cjson host-pkgconf

EZOSSL_CONF_OPTS = \
	-DEZOSSL_BUILD_TESTS=OFF \
	-DEZOSSL_BUILD_TOOLS=OFF \
	-DEZOSSL_FFT=builtin

$(eval $(cmake-package))
