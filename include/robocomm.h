// robocomm: the link between the robot's control program and its remote
// operator and service tools. A host program includes this one header and
// links librobocomm.
//
// Serving. start_server() starts the library's receive thread, which serves
// one client at a time on TCP port 10001 (a second client waits, unanswered,
// until the first leaves). Each command the client sends raises its mailbox;
// the host polls them with the req... functions (intake.h), usually once per
// cycle of its control loop, and answers with the res... function named
// beside each poll (responses.h). stop_server() ends the thread.
//
// Threads. Polls and answers may be called from any of the host's threads,
// but poll each mailbox from one thread only, and send answers from one
// thread: two answers at once may interleave their frames on the socket.
// Each frame leaves whole, so only a message of several frames (a map, the
// log bundle, a long error list) needs the socket to itself.
// The receive thread itself runs the clock command, the map-edit store and
// the firmware progress pushes.
//
// Blocking. Polls never block. Every answer blocks its caller about 100 ms
// per frame it sends (32768 bytes of document each), so a typical answer
// costs 100 ms; a log bundle (resGetLogData) 100 ms per 1400 bytes. Keep
// answers off a thread with hard deadlines.
//
// Side effects a host must know of:
//   - the clock command (code 67) sets the system clock from the receive
//     thread (settimeofday; it needs the privilege to do so);
//   - start_server's thread ends the whole process with status 1 when it
//     cannot create, bind or listen on port 10001 (the port is taken);
//   - a second start_server() without stop_server() terminates the process;
//   - the map-edit command (code 71) writes mapEditFilePath (files.h), and
//     ends the process with status 1 when that file cannot be written;
//   - a client that leaves while an answer is under way raises SIGPIPE:
//     ignore it (signal(SIGPIPE, SIG_IGN)) or the host dies with it.
//
// Global names. The library exports plain global names the host links
// against: running, sockfd, clientfd, object, identifier, key, iv, password,
// enableEnc, packetSize, packetData, receivedBytes, ... (link.h,
// security.h). A host that defines a global of the same name (int object;)
// silently replaces the library's, and both break. Keep the host's own
// globals in a namespace or file-local (static, unnamed namespace).
#pragma once

#include "robocomm/export.h"
#include "robocomm/records.h"
#include "robocomm/security.h"
#include "robocomm/link.h"
#include "robocomm/intake.h"
#include "robocomm/responses.h"
#include "robocomm/files.h"
#include "robocomm/jig.h"
