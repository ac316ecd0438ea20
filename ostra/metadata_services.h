// The metadata services library: everything a host program needs, with the core runtime and the
// standard bindings.
#pragma once

#include "ostra/core.h"
#include "ostra/std_bindings.h"

#include "ostra/provider/format.h"
#include "ostra/provider/messages.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/provider/provider_helper.h"
#include "ostra/provider/service_adapter.h"
#include "ostra/provider/source_set.h"
#include "ostra/json/json_member.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "ostra/metamodel/json_metadata_parser.h"
#include "ostra/metamodel/metadata_container.h"
#include "ostra/metamodel/services.h"
#include "ostra/metamodel/source_data.h"
#include "ostra/authentication/json_metadata_container.h"
#include "ostra/authentication/json_metadata_parser.h"
#include "ostra/authentication/metadata_container.h"
#include "ostra/authentication/services.h"
#include "ostra/authentication/source_data.h"
#include "ostra/cli/json_metadata_container.h"
#include "ostra/cli/json_metadata_parser.h"
#include "ostra/cli/metadata_container.h"
#include "ostra/cli/services.h"
#include "ostra/cli/source_data.h"
