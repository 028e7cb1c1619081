#include "qo_cmc/parser.h"
