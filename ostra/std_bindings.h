// The standard bindings: standard errors, the records and enumerations of the three metadata
// domains, and the binder machinery of their service interfaces.
#pragma once

#include "ostra/core.h"
#include "ostra/std_bindings/authentication.h"
#include "ostra/std_bindings/authentication_services.h"
#include "ostra/std_bindings/cli.h"
#include "ostra/std_bindings/cli_services.h"
#include "ostra/std_bindings/errors.h"
#include "ostra/std_bindings/metamodel.h"
#include "ostra/std_bindings/metamodel_services.h"
#include "ostra/std_bindings/service_binding.h"
#include "ostra/std_bindings/source.h"
