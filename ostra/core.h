// The framework core runtime: messages, CRC32, enumerations, data values and their JSON, errors,
// localisation, asynchronous results and service dispatch.
#pragma once

#include "ostra/core/api_interface.h"
#include "ostra/core/async_result.h"
#include "ostra/core/base_message.h"
#include "ostra/core/crc32.h"
#include "ostra/core/data_value.h"
#include "ostra/core/enum.h"
#include "ostra/core/error_factory.h"
#include "ostra/core/format_category.h"
#include "ostra/core/json.h"
#include "ostra/core/l10n.h"
#include "ostra/core/type_converter.h"
#include "ostra/core/type_info.h"
