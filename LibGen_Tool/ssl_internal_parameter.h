// SPDX-License-Identifier: MIT
// ssl_internal_parameter.h - the settings that this build is stamped with.

#ifndef SSL_INTERNAL_PARAMETER_H
#define SSL_INTERNAL_PARAMETER_H

constexpr char kApiVersion[] = "14"; // one digit each: major, minor

#endif
