// Foundation's headers include the blocks runtime by this name; here it is a separate library.
#include <Block.h>
