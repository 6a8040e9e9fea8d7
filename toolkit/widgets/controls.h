#pragma once

// Every control of the toolkit, for the windows that use them all.

#include "toolkit/widgets/buttons.h"
#include "toolkit/widgets/form.h"
#include "toolkit/widgets/frame.h"
#include "toolkit/widgets/host.h"
#include "toolkit/widgets/invisible_controls.h"
#include "toolkit/widgets/lightweight.h"
#include "toolkit/widgets/picture_box.h"
#include "toolkit/widgets/scroll_bar.h"
