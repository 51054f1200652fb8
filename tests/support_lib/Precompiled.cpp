// The source of the target whose precompiled header all test programs share: nothing else stands in it.
