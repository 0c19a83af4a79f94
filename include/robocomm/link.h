// Link server: the TCP server for the one remote client, its receive thread,
// and the framed senders on TCP and UDP.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "robocomm/export.h"

// Run flag of the receive thread.
ROBOCOMM_API extern std::atomic<bool> running;
// Listening socket; also holds the UDP sender's socket while it runs.
ROBOCOMM_API extern int sockfd;
// The connected client; the senders write to it.
ROBOCOMM_API extern int clientfd;
ROBOCOMM_API extern std::thread receiverThread;
// Consecutive empty polls of the client socket.
ROBOCOMM_API extern int waitClear;
// Firmware image bytes received so far, and the last progress reported.
ROBOCOMM_API extern uint32_t receivedBytes;
ROBOCOMM_API extern int previousValue;
// Heap buffer of the firmware image under way.
ROBOCOMM_API extern unsigned char* packetData;
// Fields of the last frame header read.
ROBOCOMM_API extern uint32_t packetSize;
ROBOCOMM_API extern uint16_t totalParts;
ROBOCOMM_API extern uint16_t partNumber;
ROBOCOMM_API extern int identifier;
ROBOCOMM_API extern int object;
// Exported for the host; the receive loop keeps its own count.
ROBOCOMM_API extern int expectedParts;
// Dotted IPv4 address of the factory jig, written by the deployment.
ROBOCOMM_API extern char senderIP[16];

ROBOCOMM_C_BEGIN
// Derives the cipher key from password, then serves port 10001 on a thread
// of its own and returns at once. That thread ends the process (status 1)
// when the port cannot be bound; a second call without stop_server()
// terminates the process.
ROBOCOMM_API void start_server();
// Closes the listening socket and joins the thread: a served client is
// dropped within about 100 ms. start_server() may be called again after it.
ROBOCOMM_API void stop_server();
// Writes the library version, "0.32.2.1".
ROBOCOMM_API void APIGetVersion(std::string& out);
ROBOCOMM_C_END

ROBOCOMM_API void stopServer();
ROBOCOMM_API int SetNonBlockingMode(int fd);
ROBOCOMM_API void print_peer_info(int fd);
// Body of receiverThread.
ROBOCOMM_API void receiveData();

// Chunked layout to the client: identifier is the command code, object the
// message kind (2 answer, 15 push).
ROBOCOMM_API void sendLargeJsonData(const std::string& text, char identifier, char object);
// Stream layout to the client, with the digest of the payload in the first frame.
ROBOCOMM_API void sendLargeJsonDataLog(const unsigned char* data, int length, char identifier, char object);
// Chunked layout as UDP datagrams to senderIP, never enciphered.
ROBOCOMM_API void sendLargeData(const std::vector<unsigned char>& data, char identifier, char object);
