
#pragma pop_macro("ERROR")
