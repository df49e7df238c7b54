// The name under which Foundation's headers ask for blocks; here a library of its own has them.
#include <Block.h>
