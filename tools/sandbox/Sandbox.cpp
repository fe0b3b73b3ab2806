#include "sandbox/Sandbox.h"
