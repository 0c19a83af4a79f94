// Symbol visibility for the robocomm interface.
//
// The library is built with hidden visibility; only what carries
// ROBOCOMM_API is seen by the host program. Host entry points are declared
// inside ROBOCOMM_C_BEGIN/END so that they keep their plain names even where
// they take standard strings or vectors: host and library share one standard
// library build.
#pragma once

#define ROBOCOMM_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define ROBOCOMM_C_BEGIN extern "C" {
#define ROBOCOMM_C_END }
#endif
