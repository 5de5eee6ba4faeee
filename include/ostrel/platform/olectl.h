// The connection-point codes, which the platform declares with its control
// interfaces rather than in winerror.h.
#pragma once
#include "winerror.h"

#define CONNECT_E_NOCONNECTION _HRESULT_TYPEDEF_(0x80040200)
#define CONNECT_E_ADVISELIMIT _HRESULT_TYPEDEF_(0x80040201)
#define CONNECT_E_CANNOTCONNECT _HRESULT_TYPEDEF_(0x80040202)
