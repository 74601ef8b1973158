extern int nothing; /* headers are included from the command line */
