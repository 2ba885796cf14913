# Every shared fixture read through the package: its data frames hold the
# fixture's truth and say what the program's dictionary CSV says.

test_that("every fixture's dictionary, statistics and counts are its truth", {
  files <- fixture_files()
  expect_gt(length(files), 10)
  read_any <- 0
  for (path in files) {
    book <- read_fixture(path)
    if (is.null(book)) next
    read_any <- read_any + 1
    truth <- truth_of(path)
    where <- basename(path)
    v <- book$variables
    expect_identical(v$name, vapply(truth$variables, function(x) x$name, ""), label = where)
    expect_equal(book$file$cases, truth$case_count, label = where)
    # What differs, gathered first: one expectation per file and kind, so
    # that 500 variables do not make thousands of expectations.
    wrong <- character()
    for (want in truth$variables) {
      got <- v[v$name == want$name, ]
      label_ok <- if (is.null(want$label)) is.na(got$label) else identical(got$label, want$label)
      if (got$position != want$position) wrong <- c(wrong, paste(want$name, "position"))
      if (!identical(got$type, want$type)) wrong <- c(wrong, paste(want$name, "type"))
      if (!label_ok) wrong <- c(wrong, paste(want$name, "label"))
      # The other formats store no level ("unknown" in their truth).
      if (!is.null(want$measure) && grepl("\\.z?sav$", path) && !identical(got$measure, want$measure)) {
        wrong <- c(wrong, paste(want$name, "measure"))
      }
    }
    expect_identical(wrong, character(), label = paste(where, "dictionary"))
    weighted <- !is.na(book$file$weight)
    stats <- if (!weighted && !is.null(truth$stats_unweighted)) truth$stats_unweighted else truth$stats
    if (truth$case_count == 0) next
    scales <- setNames(lapply(truth$variables, time_scale), vapply(truth$variables, function(x) x$name, ""))
    wrong <- character()
    for (name in intersect(names(stats), v$name)) {
      got <- v[v$name == name, ]
      want <- stats[[name]]
      scale <- scales[[name]]
      if (is.numeric(want$mean)) want$mean <- want$mean * scale[1] + scale[2]
      if (is.numeric(want$sd)) want$sd <- want$sd * scale[1]
      if (!same_number(got$valid, want$valid)) wrong <- c(wrong, paste(name, "valid"))
      if (!same_number(got$missing, want$missing)) wrong <- c(wrong, paste(name, "missing"))
      if (!is.na(got$mean) && !same_number(got$mean, want$mean)) wrong <- c(wrong, paste(name, "mean"))
      if (!is.na(got$std_dev) && !same_number(got$std_dev, want$sd)) wrong <- c(wrong, paste(name, "sd"))
    }
    expect_identical(wrong, character(), label = paste(where, "statistics"))
    values <- book$values
    key_of <- function(value) if (is.character(value)) sub(" +$", "", value) else format(value, digits = 17)
    # Each variable's true counts by value, looked up by the value's text.
    truths <- mapply(function(one, name) {
      scale <- scales[[name]]
      setNames(vapply(one$counts, function(pair) as.numeric(pair[[2]]), 0),
               vapply(one$counts, function(pair) {
                 if (is.character(pair[[1]])) key_of(pair[[1]]) else key_of(round(pair[[1]] * scale[1] + scale[2], 3))
               }, ""))
    }, stats, names(stats), SIMPLIFY = FALSE)
    numeric <- vapply(truth$variables, function(x) x$type == "numeric", TRUE)
    numeric <- vapply(truth$variables, function(x) x$name, "")[numeric]
    wrong <- character()
    for (i in seq_len(nrow(values))) {
      name <- values$variable[i]
      value <- values$value[[i]]
      if (!(name %in% names(stats)) || values$system_missing[i] || is.null(value) || is.na(values$count[i])) next
      if (name %in% numeric && is.character(value)) {
        # An extended missing code (".a", ".A", "._") of the other formats.
        tagged <- stats[[name]]$tagged_missing
        want <- if (is.null(tagged[[substring(value, 2)]])) 0 else tagged[[substring(value, 2)]]
        if (!same_number(values$count[i], want)) wrong <- c(wrong, paste0(name, "=", value))
        next
      }
      key <- if (is.character(value)) key_of(value) else key_of(round(value, 3))
      # By position: a blank string's key is "", which no name lookup finds.
      at <- match(key, names(truths[[name]]))
      want <- if (is.na(at)) 0 else truths[[name]][[at]]
      if (!same_number(values$count[i], want)) wrong <- c(wrong, paste0(name, "=", key))
    }
    expect_identical(wrong, character(), label = paste(where, "counts"))
  }
  expect_gt(read_any, 10)
})

test_that("the variables frame is the program's dictionary CSV", {
  skip_if_not(file.exists(program), "no program")
  numbers <- c("valid", "missing", "mean", "std_dev", "percentile_25", "median", "percentile_75")
  for (path in fixture_files()) {
    book <- read_fixture(path)
    if (is.null(book)) next
    csv_text <- system2(program, c("-q", "-f", "dictionary", shQuote(path)), stdout = TRUE, stderr = FALSE)
    Encoding(csv_text) <- "UTF-8"
    csv <- read.csv(text = csv_text, colClasses = "character", check.names = FALSE, na.strings = character(),
                    encoding = "UTF-8")
    expect_identical(names(book$variables), names(csv), label = basename(path))
    # The package's own rendering of the same facts is the program's, byte for byte.
    expect_identical(render_codebook(book, "dictionary"), paste0(paste(csv_text, collapse = "\n"), "\n"),
                     label = basename(path))
    for (column in setdiff(names(csv), numbers)) {
      got <- book$variables[[column]]
      got <- ifelse(is.na(got), "", as.character(got))
      expect_identical(got, csv[[column]], label = paste(basename(path), column))
    }
    for (column in numbers) {
      plain <- suppressWarnings(as.numeric(csv[[column]]))
      shown <- !is.na(plain)
      expect_equal(book$variables[[column]][shown], plain[shown], tolerance = 1e-12,
                   label = paste(basename(path), column))
      expect_true(all(is.na(book$variables[[column]][csv[[column]] == ""])), label = paste(basename(path), column))
    }
  }
})
