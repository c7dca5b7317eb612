// SPDX-License-Identifier: MIT
// ssl_internal_parameter.cpp - the settings stamp: the settings of this build, which `strings`
// finds in the library file. No code reads it; a test compares it with the values in use.

#include "EzoSsl.h"

const char ssl_setting[] = "SSLSET##APIVERSION14##PN128MSGLEVEL07##SETSSL\n";
