/// @file
/// Position.h — the opaque position handle shared by the list templates. A `__POSITION*` is the
/// address of one list node, handed out so that callers can step through a list and remove an
/// element in constant time; null means "no position". The struct is never defined: a position is
/// only turned back into a node by the list that made it. A position stays valid until its own node
/// is removed. Copying a position copies the address only.
#pragma once

struct __POSITION;
