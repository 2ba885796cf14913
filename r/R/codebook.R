# The codebook of a dataset file as data frames, made by the codebook
# program's own libraries; this file only turns their results into R
# objects and conditions.

#' The output formats of the program.
codebook_formats <- function() .cb_formats()

#' The version of the data model (docs/data-model.md) the results follow.
codebook_model_version <- function() .cb_model_version()

.cb_names <- function(x) {
  if (is.null(x)) return(character())
  x <- as.character(x)
  if (length(x) == 1L) x <- strsplit(x, "[[:space:]]+")[[1L]]
  x[nzchar(x)]
}

.cb_condition <- function(class, message, call = NULL, ...) {
  structure(class = c(class, "condition"), list(message = message, call = call, ...))
}

# The codebooks of a run; its warnings and notes as R warnings of class
# codebook_warning, its errors as one condition of class codebook_error.
.cb_finish <- function(pointer, call) {
  outcome <- .cb_outcome(pointer)
  books <- lapply(seq_len(outcome$commands), function(i) {
    book <- .cb_model(pointer, i)
    book$.result <- pointer
    book$.command <- i
    structure(book, class = "codebook")
  })
  messages <- outcome$messages
  for (i in seq_len(nrow(messages))) {
    if (messages$severity[i] %in% c("warning", "note")) {
      warning(.cb_condition(c("codebook_warning", "warning"), messages$printed[i], call))
    }
  }
  if (outcome$status != 0L || outcome$interrupted) {
    stop(.cb_condition(c("codebook_error", "error"), outcome$error_text, call,
                       status = outcome$status, results = books))
  }
  books
}

.cb_weight <- function(weight) {
  if (is.null(weight) || identical(weight, FALSE)) return(weight)
  if (is.character(weight) && length(weight) == 1L) return(if (nzchar(weight)) weight else FALSE)
  stop("weight: give a variable name, FALSE (unweighted) or NULL (the file's weight)")
}

#' The codebook of a dataset file (every format the program reads).
#'
#' variables: the CODEBOOK variable list (NULL: every variable and set);
#' weight: NULL for the file's own weight, FALSE for none, or a variable's
#' name; maxcats: values past which a variable lists none; hide: variables
#' whose values are not shown (or "auto"); encoding: read the file's text in
#' this encoding; catalog: a .sas7bdat file's format catalog (default: the
#' .sas7bcat beside it); statistics: the STATISTICS keywords ("MEAN STDDEV");
#' progress: function(read, total) called every few thousand cases,
#' returning FALSE stops the pass.
read_codebook <- function(path, variables = NULL, weight = NULL, maxcats = 200L, hide = NULL,
                          encoding = NULL, catalog = NULL, statistics = NULL, overview = TRUE, alerts = TRUE,
                          progress = NULL) {
  subcommands <- if (is.null(statistics)) "" else paste("/STATISTICS", statistics)
  pointer <- .cb_read_file(path.expand(as.character(path)), .cb_names(variables), .cb_weight(weight),
                           as.integer(maxcats), paste(.cb_names(hide), collapse = " "),
                           if (is.null(encoding)) "" else encoding,
                           if (is.null(catalog)) "" else path.expand(catalog), subcommands, isTRUE(overview),
                           isTRUE(alerts), progress)
  .cb_finish(pointer, sys.call())[[1L]]
}

#' Runs a command-language job (GET FILE, WEIGHT, FILTER, N OF CASES,
#' CODEBOOK): a list of codebooks, one per CODEBOOK command. `dataset`, when
#' given, is opened first; relative paths are taken from `folder`.
run_codebook <- function(syntax, dataset = NULL, hide = NULL, encoding = NULL, folder = getwd(),
                         overview = TRUE, alerts = TRUE, progress = NULL) {
  text <- paste(syntax, collapse = "\n")
  if (!is.null(dataset)) {
    text <- paste0("GET FILE='", gsub("'", "''", path.expand(dataset), fixed = TRUE), "'.\n", text)
  }
  pointer <- .cb_run_syntax(text, folder, paste(.cb_names(hide), collapse = " "),
                            if (is.null(encoding)) "" else encoding, isTRUE(overview), isTRUE(alerts), progress)
  .cb_finish(pointer, sys.call())
}

#' The codebook in one of codebook_formats(): a character string (a raw
#' vector for pdf and xlsx), or written to `path` (then invisibly the path).
render_codebook <- function(x, format, path = NULL, width = 0L) {
  stopifnot(inherits(x, "codebook"))
  if (!format %in% codebook_formats()) {
    stop(sprintf("unknown format '%s'; the formats: %s", format, paste(codebook_formats(), collapse = ", ")))
  }
  bytes <- .cb_render(x$.result, x$.command, format, as.integer(width))
  if (!is.null(path)) {
    writeBin(bytes, path)
    return(invisible(path))
  }
  if (format %in% c("pdf", "xlsx")) bytes else {
    text <- rawToChar(bytes)
    Encoding(text) <- "UTF-8"
    text
  }
}

as_html <- function(x) render_codebook(x, "html")
write_html <- function(x, path) render_codebook(x, "html", path)
write_json <- function(x, path) render_codebook(x, "json", path)
write_ddi <- function(x, path) render_codebook(x, "ddi", path)
write_dictionary <- function(x, path) render_codebook(x, "dictionary", path)
write_xlsx <- function(x, path) render_codebook(x, "xlsx", path)
write_pdf <- function(x, path) render_codebook(x, "pdf", path)
write_markdown <- function(x, path) render_codebook(x, "markdown", path)
write_text <- function(x, path) render_codebook(x, "text", path)
write_csv <- function(x, path) render_codebook(x, "csv", path)

#' Shows the file's line and the overview of its items.
print.codebook <- function(x, ...) {
  file <- x$file
  cat(sprintf("Codebook of %s: %d variables, %s cases%s\n", file$name, nrow(x$variables),
              if (is.na(file$cases)) "unknown" else format(file$cases),
              if (is.na(file$weight)) "" else sprintf(", weighted by %s", file$weight)))
  if (!is.null(x$overview)) {
    print(x$overview, ...)
  } else {
    print(x$variables[, c("name", "label", "type", "valid", "missing")], ...)
  }
  invisible(x)
}
