def main():
    text = ""
    for i in range(1000000):
        text += "x"
    print(len(text))


main()
