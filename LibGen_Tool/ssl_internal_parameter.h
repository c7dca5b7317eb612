// SPDX-License-Identifier: MIT
// ssl_internal_parameter.h - the settings in the stamp of this build.

#ifndef SSL_INTERNAL_PARAMETER_H
#define SSL_INTERNAL_PARAMETER_H

constexpr char kApiVersion[] = "14"; // one digit each: major, minor

#endif
