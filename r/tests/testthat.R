library(testthat)
library(dscodebook)
test_check("dscodebook")
