# The package's surface: conditions, syntax runs, output formats, printing,
# progress and interrupts.

weighted <- file.path(fixtures_dir, "fx06_weight_integer.sav")
sets <- file.path(fixtures_dir, "fx05_mrsets.sav")

test_that("errors are codebook_error conditions with the program's message and status", {
  e <- tryCatch(read_codebook(file.path(tempdir(), "absent.sav")), codebook_error = function(e) e)
  expect_s3_class(e, "codebook_error")
  expect_match(conditionMessage(e), "absent.sav: cannot open")
  expect_equal(e$status, 3L)
  expect_error(read_codebook(weighted, variables = "nosuch"), class = "codebook_error")
  expect_error(read_codebook(weighted, weight = "nosuch"), "nosuch", class = "codebook_error")
  expect_error(read_codebook(weighted, weight = 3), "weight")
})

test_that("the procedure's warnings are codebook_warning conditions", {
  expect_warning(read_codebook(file.path(fixtures_dir, "fx12_large_20000.zsav")), "not displayed for id",
                 class = "codebook_warning")
  expect_warning(book <- read_codebook(file.path(fixtures_dir, "fx09_zero_cases.sav")), "no cases",
                 class = "codebook_warning")
  expect_equal(book$file$cases, 0)
  expect_gt(nrow(book$variables), 0)
})

test_that("weights: the file's own, none, and the unweighted counts beside weighted ones", {
  truth <- truth_of(weighted)
  own <- read_codebook(weighted)
  off <- read_codebook(weighted, weight = FALSE)
  expect_identical(own$file$weight, "w")
  expect_true(is.na(off$file$weight))
  expect_equal(own$variables$valid[own$variables$name == "id"], truth$stats$id$valid)
  expect_equal(off$variables$valid[off$variables$name == "id"], truth$stats_unweighted$id$valid)
  expect_true(any(!is.na(own$values$unweighted_count)))
  expect_true(all(is.na(off$values$unweighted_count)))
})

test_that("the same columns as the Python package", {
  book <- suppressWarnings(read_codebook(sets))
  expect_identical(names(book$values), c("variable", "value", "label", "missing", "system_missing", "count",
                                         "percent", "unweighted_count"))
  expect_identical(names(book$sets), c("name", "label", "type", "counted_value", "members"))
  expect_identical(names(book$alerts), c("item", "kind", "text"))
  truth <- truth_of(sets)
  expect_identical(book$sets$name, vapply(truth$mr_sets, function(s) s$name, ""))
  expect_identical(book$file$model_version, codebook_model_version())
  expect_true(all(vapply(book$tables, function(t) "group_1" %in% names(t), TRUE)))
  expect_identical(book$overview$group_1[seq_len(nrow(book$variables))], book$variables$name)
})

test_that("run_codebook gives one codebook per command", {
  books <- run_codebook(c("CODEBOOK id.", "WEIGHT OFF.", "CODEBOOK id."), dataset = weighted)
  expect_length(books, 2)
  expect_identical(c(books[[1]]$file$weight, books[[2]]$file$weight), c("w", NA))
  e <- tryCatch(run_codebook(c("CODEBOOK id.", "CODEBOOK nosuch."), dataset = weighted),
                codebook_error = function(e) e)
  expect_length(e$results, 1)
})

test_that("every format to a string and to a path; print shows the overview", {
  # The time of making, fixed: two renderings are then the same bytes, the
  # PDF's and the workbook's too.
  epoch <- Sys.getenv("SOURCE_DATE_EPOCH", NA)
  Sys.setenv(SOURCE_DATE_EPOCH = "1700000000")
  on.exit(if (is.na(epoch)) Sys.unsetenv("SOURCE_DATE_EPOCH") else Sys.setenv(SOURCE_DATE_EPOCH = epoch))
  book <- suppressWarnings(read_codebook(sets))
  for (format in codebook_formats()) {
    made <- render_codebook(book, format)
    path <- tempfile(fileext = paste0(".", format))
    write_fn <- render_codebook(book, format, path)
    expect_identical(write_fn, path)
    if (format %in% c("pdf", "xlsx")) {
      expect_type(made, "raw")
      expect_identical(readBin(path, "raw", file.size(path)), made)
    } else {
      expect_identical(readChar(path, file.size(path), useBytes = TRUE), enc2native(made), label = format)
    }
  }
  expect_match(as_html(book), "<html")
  expect_error(render_codebook(book, "docx"), "unknown format")
  shown <- capture.output(print(book))
  expect_match(shown[1], "Codebook of fx05_mrsets.sav: .* 100 cases")
  expect_true(any(grepl("brand_a", shown)))
})

test_that("progress, a stop, and an interrupt that leaves the session usable", {
  large <- file.path(fixtures_dir, "fx12_large_20000.zsav")
  seen <- numeric()
  suppressWarnings(read_codebook(large, progress = function(read, total) { seen <<- c(seen, read); TRUE }))
  expect_gt(length(seen), 1)
  expect_false(is.unsorted(seen))
  expect_error(suppressWarnings(read_codebook(large, progress = function(read, total) read < 8000)),
               "interrupted", class = "codebook_error")
  calls <- 0
  got <- tryCatch(suppressWarnings(read_codebook(large, progress = function(read, total) {
    calls <<- calls + 1
    if (calls == 1) tools::pskill(Sys.getpid(), tools::SIGINT)
    TRUE
  })), interrupt = function(i) "interrupted")
  expect_identical(got, "interrupted")
  expect_lt(calls, 3)
  book <- suppressWarnings(read_codebook(large))
  expect_equal(book$file$cases, 20000)
})
