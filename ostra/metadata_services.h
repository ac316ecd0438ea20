// The metadata services library: everything a host program needs, with the core runtime and the
// standard bindings.
#pragma once

#include "ostra/core.h"
#include "ostra/std_bindings.h"

#include "ostra/provider/format.h"
#include "ostra/provider/messages.h"
#include "ostra/provider/parsed_metadata.h"
