print("hello from the sample script")
