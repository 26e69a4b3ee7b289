# stub placeholder
