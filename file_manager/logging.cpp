#include "logging.h"

Q_LOGGING_CATEGORY(lcFiles, "brisko.files", QtInfoMsg)
