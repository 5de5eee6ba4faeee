#include "foundation/empty_variant.h"

namespace ostrel {

const VARIANT vtEmpty = {};

}  // namespace ostrel
