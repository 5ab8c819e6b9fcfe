#pragma once

namespace zforms {

// Hands memory that was freed back to the system, which allocators put off for long.
// Takes milliseconds; worth it after something large. Any thread.
void GiveBackMemory();

}  // namespace zforms
