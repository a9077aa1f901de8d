#include "logging.h"

Q_LOGGING_CATEGORY(lcDaemon, "brisko.daemon", QtInfoMsg)
