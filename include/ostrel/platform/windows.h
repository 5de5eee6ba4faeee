// The Linux platform layer as one include, under the platform's own name.
#pragma once
#include "winbase.h"
#include "winuser.h"
#include "winreg.h"
#include "objbase.h"
#include "oleauto.h"
