// The host's polls that hand a command over in another form than the parser
// stored it: decoded, verified or deep-copied.
#include <iostream>

#include "intake/mailbox_access.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"

using robocomm::takeMailbox;

uint8_t reqSetModifiedMapDataS(std::string* out) {
    return takeMailbox(globalSetModifiedMapData, clearGlobalSetModifiedMapData,
                       [out](const ModifiedMapMailbox& m) { *out = m.data; });
}

uint8_t reqSetModifiedMapDataB(ModifiedMapDataB_t* out) {
    return takeMailbox(globalSetModifiedMapData, clearGlobalSetModifiedMapData, [out](const ModifiedMapMailbox& m) {
        out->data = base64Decode(m.data);
        out->width = m.width;
        out->height = m.height;
    });
}

uint8_t reqSetIntegrationModifiedMapDataB(std::vector<unsigned char>* out) {
    return takeMailbox(globalSetIntegrationModifiedMapData, clearGlobalSetIntegrationModifiedMapData,
                       [out](const TextMailbox& m) { *out = base64Decode(m.data); });
}

// The map goes over even when its digest does not match: the host decides.
uint8_t reqSetPGMMapData(PGMMapDataB_t* out) {
    return takeMailbox(globalSetPGMMapData, clearGlobalSetPGMMapData, [out](const PGMMapMailbox& m) {
        out->data = base64Decode(m.data);
        out->name = m.name;
        out->checksumOk = verifySHA256(static_cast<const PGMMapData_t&>(m));
    });
}

// The image and its digest stay in the mailbox after the hand-over; the
// firmware stream owns them.
uint8_t reqSetOTAdata(otadataB_t* out) {
    return takeMailbox(globalOTAdata, clearGlobalSetOTAdata, [out](const OTADataMailbox& m) {
        std::cout << "Data size in globalOTAdata: " << m.imageData.size() << std::endl;
        out->data = m.imageData;
        out->checksum = m.imageChecksum;
    });
}

uint8_t reqSetByPassOneData(ByPassOneData_t* out) {
    return takeMailbox(globalSetByPassOne, clearGlobalSetByPassOneData,
                       [out](const ByPassOneMailbox& m) { *out = m; });
}
