// SPDX-License-Identifier: MIT
// ssl_internal_parameter.cpp - the settings stamp: what this library file was built with, to be
// found in it with `strings`. No code reads it; a test holds it against the values in use.

#include "EzoSsl.h"

const char ssl_setting[] = "SSLSET##APIVERSION14##PN128MSGLEVEL07##SETSSL\n";
