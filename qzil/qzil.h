#pragma once

// Everything a host needs.
#include "qzil/image/color.h"
#include "qzil/image/core_values.h"
#include "qzil/image/format_relations.h"
#include "qzil/image/formats.h"
#include "qzil/image/image.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"
#include "qzil/image/memory_pool.h"
#include "qzil/image/pixel_math.h"
#include "qzil/platform/com.h"
#include "qzil/platform/host.h"
#include "qzil/platform/memory.h"
#include "qzil/platform/stream.h"
