#include "views/table/TableRenderer.h"

TableRenderer::~TableRenderer() = default;
