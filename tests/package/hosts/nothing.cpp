// Compiled to ask the compiler whether it knows an option.
