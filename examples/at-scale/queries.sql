-- The slowest statements
SELECT query, duration, queue_id
  FROM sql_query WHERE duration IS NOT NULL ORDER BY duration DESC, queue_id LIMIT 3;

-- Each request: its time, and what of it was spent in SQL
SELECT target, http_response_code AS status, total_time, sum(duration) AS sql_time,
       count(sql_query) AS statements
  FROM request_begin
  JOIN request_end USING (queue_id)
  LEFT JOIN sql_query USING (queue_id)
  GROUP BY queue_id, target, http_response_code, total_time
  ORDER BY total_time DESC, queue_id LIMIT 3;

-- Each database: how many statements failed
SELECT dsn, count(*) AS statements, count(error_message) AS failed
  FROM sql_query
  LEFT JOIN sql_connection
    ON (sql_connection.queue_id, ident) = (sql_query.queue_id, connection_id)
  GROUP BY dsn ORDER BY failed DESC, dsn;
