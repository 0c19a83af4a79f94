// The link's exported state. Plain globals by design: the host program links
// against these names, and only `running` is shared through an atomic.
#include "robocomm/link.h"

std::atomic<bool> running{true};
int sockfd = 0;
int clientfd = 0;
std::thread receiverThread;
int waitClear = 0;
uint32_t receivedBytes = 0;
int previousValue = 0;
unsigned char* packetData = nullptr;
uint32_t packetSize = 0;
uint16_t totalParts = 0;
uint16_t partNumber = 0;
int identifier = 0;
int object = 0;
int expectedParts = 0;
// The jig's address on the factory network; deployments overwrite it.
char senderIP[16] = "192.168.0.200";
