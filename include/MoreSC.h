// The MoreSC network-configuration library: every public operation.
// A program links the MoreSC library target and includes this header.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"
#include "entities/MoreSCDigests.h"
#include "entities/MoreSCAddresses.h"
#include "entities/MoreSCInterfaceEntities.h"
#include "entities/MoreSCProtocolEntities.h"
#include "entities/MoreSCGlobalEntities.h"
#include "entities/MoreSCPPPEntity.h"
#include "entities/MoreSCModemScripts.h"
#include "entities/MoreSCCreateEntity.h"
#include "ports/MoreSCFPortScanner.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSets.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCDelete.h"
