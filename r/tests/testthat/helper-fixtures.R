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
