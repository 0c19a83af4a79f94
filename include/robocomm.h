// robocomm: the link between the robot's control program and its remote
// operator and service tools. A host program includes this one header and
// links librobocomm.
#pragma once

#include "robocomm/export.h"
#include "robocomm/records.h"
#include "robocomm/security.h"
#include "robocomm/link.h"
#include "robocomm/intake.h"
#include "robocomm/responses.h"
#include "robocomm/files.h"
#include "robocomm/jig.h"
