// The source of the targets whose precompiled headers others share: nothing else stands in it.
