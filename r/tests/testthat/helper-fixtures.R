# The shared fixtures with their truths, and the program whose output the
# package must agree with.
source_dir <- Sys.getenv("CODEBOOK_SOURCE_DIR", normalizePath(file.path(getwd(), "..", "..", ".."), mustWork = FALSE))
fixtures_dir <- Sys.getenv("CODEBOOK_FIXTURES_DIR", file.path(dirname(source_dir), "shared", "fixtures"))
format_fixtures_dir <- Sys.getenv("CODEBOOK_FORMAT_FIXTURES_DIR",
                                  file.path(dirname(source_dir), "shared", "fixtures-formats"))
program <- Sys.getenv("CODEBOOK_PROGRAM", file.path(source_dir, "build", "bin", "codebook"))

fixture_files <- function() {
  files <- character()
  for (folder in c(fixtures_dir, format_fixtures_dir)) {
    if (!dir.exists(folder)) next
    found <- list.files(folder, pattern = "\\.(sav|zsav|dta|sas7bdat|xpt)$", full.names = TRUE)
    files <- c(files, found[file.exists(sub("\\.[^.]+$", ".json", found))])
  }
  sort(files)
}

truth_of <- function(path) jsonlite::fromJSON(sub("\\.[^.]+$", ".json", path), simplifyVector = FALSE)

# The codebook of a fixture; NULL where this build reads no file of its
# format (its reader has not landed).
read_fixture <- function(path, ...) {
  tryCatch(suppressWarnings(read_codebook(path, ...)), codebook_error = function(e) {
    if (!grepl("\\.z?sav$", path) && grepl("not a dataset file this program reads", conditionMessage(e))) {
      return(NULL)
    }
    stop(e)
  })
}

same_number <- function(got, want, tolerance = 1e-9) {
  if (is.null(want)) return(is.na(got))
  !is.na(got) && abs(got - want) <= tolerance * max(1, abs(want))
}

# Where the other formats count their dates and times from: the library
# holds them as seconds since 14 October 1582, as the dataset files do.
from_1960 <- as.numeric(difftime(as.Date("1960-01-01"), as.Date("1582-10-14"), units = "secs"))
sas_dates <- "^(DATE|MMDDYY|DDMMYY|YYMMDD|MONYY|WEEKDATE|WORDDATE|YYQ|JULIAN)"

# c(factor, offset) that turn the truth's stored number of a variable into
# the library's: days and milliseconds since 1960 become seconds since 1582.
time_scale <- function(variable) {
  stata <- if (is.null(variable$stata_format)) "" else variable$stata_format
  sas <- if (is.null(variable$sas_format)) "" else toupper(variable$sas_format)
  if (grepl("^%t?d", stata) || (grepl(sas_dates, sas) && !grepl("^DATETIME", sas))) return(c(86400, from_1960))
  if (grepl("^%t[cC]", stata)) return(c(0.001, from_1960))
  if (grepl("^DATETIME", sas)) return(c(1, from_1960))
  c(1, 0)
}
